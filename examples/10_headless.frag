#version 150
in vec2 vo_TexCoord;
uniform float u_Aspect;
uniform vec2 u_Number;
out vec4 o_Color;

void main()
{
    vec2 z = (2.0 * vo_TexCoord - 1.0) * vec2(u_Aspect, 1.0) * 0.92;
    int steps = 0;
    for (; steps < 320 && dot(z, z) < 64.0; ++steps) {
        z = vec2(z.x * z.x - z.y * z.y, 2.0 * z.x * z.y) + u_Number;
    }
    // A smooth count of the steps in which the point escapes.
    float count = float(steps) + 1.0 - log2(0.5 * log2(max(dot(z, z), 4.0)));
    float shade = steps == 320 ? 0.0 : sqrt(count / 320.0);
    o_Color = vec4(pow(vec3(shade), vec3(2.4, 1.5, 0.8)) * vec3(2.6, 1.5, 1.0) + vec3(0.02, 0.03, 0.06), 1.0);
}
