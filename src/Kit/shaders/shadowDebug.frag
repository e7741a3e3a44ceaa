// The debug view of the shadow table: a bar of the lights below, the layers side by side above.
// In:  vo_TexCoord from 0 to 1, lower left to upper right.
// Out: linear; depths from white, near the light, to black; empty texels are blue; transparent outside of the layers.
#version 150

in vec2 vo_TexCoord;

out vec4 out_FragColor;

#include "ShadowMapManager.glslh"

void main()
{
    const float kBar = 0.02; // its height

    vec4 color = shadowMapGetDebug(vo_TexCoord);
    if (vo_TexCoord.y >= kBar && color.a > 0.0) {
        float nearness = max(1.0 - color.r, 0.0);
        // The root spreads the depths that a perspective projection compresses at the far end.
        color.rgb = nearness > 0.0 ? vec3(pow(nearness, 0.4)) : vec3(0.05, 0.09, 0.16);
    }
    out_FragColor = color;
}
