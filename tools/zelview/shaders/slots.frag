// The debug view of the texture manager: array managers show their slots side by side, the others nothing.
// In:  vo_TexCoord from 0 to 1, lower left to upper right.
// Out: linear; empty parts are transparent.
#macro ZELVIEW_GLSL_VERSION #version 150

in vec2 vo_TexCoord;

out vec4 out_FragColor;

#include "TextureManager.glslh"

void main()
{
    out_FragColor = textureGetDebug(vo_TexCoord);
}
