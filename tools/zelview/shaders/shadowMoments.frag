// Opaque casters in variance layers.
// In:  see ModelFragment.glslh.
// Out: the depth from 0 to 1, and its square plus the variance by the slope within a pixel: Lauritzen, "Summed-area
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
    // Near 1, where most depths of spot lights are, rounding reduces the variance by up to kRounding, which would be visible as
    // grain.
    out_FragColor = vec4(depth, depth * depth + kRounding + min(0.25 * dot(slope, slope), 1e-3), 0.0, 0.0);
}
