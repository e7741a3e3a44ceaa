// Opaque casters in variance layers.
// In:  see ModelFragment.glslh.
// Out: the moments of the depth.
#macro ZELVIEW_GLSL_VERSION #version 150

out vec4 out_FragColor;

#include "KitCasterFragment.glslh"
#include "Material.glslh"

void main()
{
    vec4 moments = shadowCasterMoments();
    materialColor();
    out_FragColor = moments;
}
