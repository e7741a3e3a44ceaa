// Second pass of SMAA: the weights of the neighbours of a pixel at an edge.
// In:  u_Edges; u_Area and u_Search, SMAA's tables; the outputs of smaaWeights.vert.
// Out: four weights.
#version 150

#include "Smaa.glslh"
#define SMAA_INCLUDE_VS 0
#include "SMAA.glslh"

uniform sampler2D u_Edges;
uniform sampler2D u_Area;
uniform sampler2D u_Search;

in vec2 vo_TexCoord;
in vec2 vo_Pixel;
in vec4 vo_Offset[3];

out vec4 out_FragColor;

void main()
{
    const vec4 kPixelCentres = vec4(0.0);
    out_FragColor = SMAABlendingWeightCalculationPS(vo_TexCoord, vo_Pixel, vo_Offset, u_Edges, u_Area, u_Search,
                                                    kPixelCentres);
}
