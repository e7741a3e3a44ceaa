#version 150
in vec2 vo_TexCoord;
uniform float u_Aspect;
uniform float u_Seconds;
out vec4 o_Color;

// Bands of light, each with its own wave.
void main()
{
    vec2 place = (vo_TexCoord - 0.5) * vec2(u_Aspect, 1.0);
    vec3 color = mix(vec3(0.02, 0.03, 0.08), vec3(0.05, 0.02, 0.09), vo_TexCoord.y);
    for (int i = 0; i < 7; ++i) {
        float number = float(i);
        float wave = 0.20 * sin(2.2 * place.x + 0.55 * number + 0.5 * u_Seconds)
            + 0.07 * sin(5.1 * place.x - 0.9 * number + 0.8 * u_Seconds);
        float width = 0.004 + 0.018 * (0.5 + 0.5 * sin(3.0 * place.x + 1.3 * number));
        vec3 hue = 0.55 + 0.45 * cos(0.55 * number + vec3(3.4, 4.7, 0.4));
        color += hue * width / (abs(place.y - wave) + 0.006) * 0.55;
    }
    o_Color = vec4(1.0 - exp(-color), 1.0);
}
