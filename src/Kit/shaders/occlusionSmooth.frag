// Removes the noise of occlusion.frag: the mean over those of the four by four pixels of its period that show the same
// surface.
// In:  u_Estimate; u_Geometry and u_Reach as in occlusion.frag.
// Out: the openness, and the distance along the view, by which KitOcclusion.glslh finds the surface.
#version 150

uniform sampler2D u_Estimate;
uniform sampler2D u_Geometry;
uniform float u_Reach;

out vec4 out_FragColor;

#include "ViewPosition.glslh"

vec3 positionOf(ivec2 pixel, float distance)
{
    return viewPosition((vec2(pixel) + 0.5) / vec2(textureSize(u_Geometry, 0)), distance);
}

void main()
{
    ivec2 here = ivec2(gl_FragCoord.xy);
    ivec2 last = textureSize(u_Estimate, 0) - 1;
    vec4 geometry = texelFetch(u_Geometry, here, 0);
    vec3 position = positionOf(here, geometry.w);
    float sum = 0.0;
    float weights = 0.0;
    for (int y = -2; y <= 1; ++y) {
        for (int x = -2; x <= 1; ++x) {
            ivec2 place = clamp(here + ivec2(x, y), ivec2(0), last);
            vec4 there = texelFetch(u_Geometry, place, 0);
            float offSurface = abs(dot(positionOf(place, there.w) - position, geometry.xyz));
            bool isSame = offSurface <= 0.05 * u_Reach && dot(there.xyz, geometry.xyz) >= 0.7;
            float weight = isSame ? 1.0 : 0.001;
            sum += weight * texelFetch(u_Estimate, place, 0).r;
            weights += weight;
        }
    }
    out_FragColor = vec4(sum / weights, geometry.w, 0.0, 0.0);
}
