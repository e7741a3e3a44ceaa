// Converts linear light to sRGB.
// In:  u_Frame, linear from 0 to 1; vo_TexCoord.
// Out: sRGB.
#version 150

uniform sampler2D u_Frame;

in vec2 vo_TexCoord;

out vec4 out_FragColor;

#include "Encode.glslh"

void main()
{
    vec3 color = clamp(texture(u_Frame, vo_TexCoord).rgb, 0.0, 1.0);
    out_FragColor = vec4(encode(color) + dither(), 1.0);
}
