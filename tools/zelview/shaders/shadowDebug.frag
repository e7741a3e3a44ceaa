// The shadow table's view of itself: below a bar of the lights, above it the layers side by side.
// In:  vo_TexCoord from 0 to 1, lower left to upper right.
// Out: linear; transparent where there is nothing.
#macro ZELVIEW_GLSL_VERSION #version 150

in vec2 vo_TexCoord;

out vec4 out_FragColor;

#include "ShadowMapManager.glslh"

void main()
{
    out_FragColor = shadowMapGetDebug(vo_TexCoord);
}
