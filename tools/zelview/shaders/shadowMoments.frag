// The opaque parts of what casts a shadow, for variance layers.
// In:  what ModelFragment.glslh lists.
// Out: the depth from 0 to 1, and its square with what the depth's slope adds within a pixel: Lauritzen, "Summed-area
//      variance shadow maps", GPU Gems 3, 2007.
#macro ZELVIEW_GLSL_VERSION #version 150

out vec4 out_FragColor;

#include "Material.glslh"

void main()
{
    float depth = max(gl_FragCoord.z, 1e-6); // casters before the near end are pressed onto it
    vec2 slope = vec2(dFdx(depth), dFdy(depth));
    materialColor();
    out_FragColor = vec4(depth, depth * depth + min(0.25 * dot(slope, slope), 1e-3), 0.0, 0.0);
}
