// The neighbours of a pixel at which SMAA searches for edges.
// In:  va_Vertex in clip space, va_TexCoord from 0 to 1.
// Out: the inputs of smaaEdges.frag.
#version 150

#include "Smaa.glslh"
#define SMAA_INCLUDE_PS 0
#include "SMAA.glslh"

in vec4 va_Vertex;
in vec2 va_TexCoord;

out vec2 vo_TexCoord;
out vec4 vo_Offset[3];

void main()
{
    gl_Position = va_Vertex;
    vo_TexCoord = va_TexCoord;
    SMAAEdgeDetectionVS(va_TexCoord, vo_Offset);
}
