// The last step of a frame: linear light becomes sRGB.
// In:  u_Frame, linear from 0 to 1; vo_TexCoord.
// Out: sRGB; dithered with a noise of less than one step of 8 bits, so that soft gradients show no bands.
#macro ZELVIEW_GLSL_VERSION #version 150

uniform sampler2D u_Frame;
uniform bool u_IsDithered;

in vec2 vo_TexCoord;

out vec4 out_FragColor;

vec3 encode(vec3 color)
{
    vec3 curve = 1.055 * pow(color, vec3(1.0 / 2.4)) - 0.055;
    return mix(curve, 12.92 * color, vec3(lessThanEqual(color, vec3(0.0031308))));
}

// Interleaved gradient noise: Jimenez, "Next generation post processing in Call of Duty", 2014.
float noise(vec2 pixel)
{
    return fract(52.9829189 * fract(dot(pixel, vec2(0.06711056, 0.00583715))));
}

void main()
{
    vec3 color = clamp(texture(u_Frame, vo_TexCoord).rgb, 0.0, 1.0);
    float dither = u_IsDithered ? (noise(gl_FragCoord.xy) - 0.5) / 255.0 : 0.0;
    out_FragColor = vec4(encode(color) + dither, 1.0);
}
