// First pass of SMAA: finds the edges of a picture by its colours.
// In:  u_Picture, sRGB; the outputs of smaaEdges.vert.
// Out: 1 for an edge: red to the left, green below.
#version 150

#include "Smaa.glslh"
#define SMAA_INCLUDE_VS 0
#include "SMAA.glslh"

uniform sampler2D u_Picture;

in vec2 vo_TexCoord;
in vec4 vo_Offset[3];

out vec4 out_FragColor;

void main()
{
    out_FragColor = vec4(SMAAColorEdgeDetectionPS(vo_TexCoord, vo_Offset, u_Picture), 0.0, 0.0);
}
