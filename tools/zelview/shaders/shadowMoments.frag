// The opaque parts of what casts a shadow, for variance layers.
// In:  what ModelFragment.glslh lists.
// Out: the depth from 0 to 1, and its square with what the depth's slope adds within a pixel: Lauritzen, "Summed-area
//      variance shadow maps", GPU Gems 3, 2007.
#macro ZELVIEW_GLSL_VERSION #version 150

out vec4 out_FragColor;

#include "Material.glslh"

const float kRounding = 4e-7;

void main()
{
    float depth = clamp(gl_FragCoord.z, 1e-6, 1.0); // GL_DEPTH_CLAMP clamps the depth attachment, not gl_FragCoord
    vec2 slope = vec2(dFdx(depth), dFdy(depth));
    materialColor();
    // Near 1, where spot lights have all their depths, rounding takes up to kRounding from the variance, and it shows as grain.
    out_FragColor = vec4(depth, depth * depth + kRounding + min(0.25 * dot(slope, slope), 1e-3), 0.0, 0.0);
}
