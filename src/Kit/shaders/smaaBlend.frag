// Third pass of SMAA: blends the edges of the picture.
// In:  u_Frame, linear from 0 to 1; u_Weights; the outputs of smaaBlend.vert.
// Out: sRGB.
#version 150

#include "Smaa.glslh"
#define SMAA_INCLUDE_VS 0
#include "SMAA.glslh"

uniform sampler2D u_Frame;
uniform sampler2D u_Weights;

in vec2 vo_TexCoord;
in vec4 vo_Offset;

out vec4 out_FragColor;

#include "Encode.glslh"

void main()
{
    vec3 color = SMAANeighborhoodBlendingPS(vo_TexCoord, vo_Offset, u_Frame, u_Weights).rgb;
    out_FragColor = vec4(encode(clamp(color, 0.0, 1.0)) + dither(), 1.0);
}
