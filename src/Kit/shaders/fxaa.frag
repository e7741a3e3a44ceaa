// Smooths the edges of a picture by FXAA.
// In:  u_Picture, sRGB; vo_TexCoord.
// Out: sRGB.
#version 150

#define FXAA_QUALITY__PRESET 39
#include "FXAA.glslh"

uniform sampler2D u_Picture;

in vec2 vo_TexCoord;

out vec4 out_FragColor;

#include "Encode.glslh"

void main()
{
    const float kSubpixel = 0.75;
    const float kEdgeThreshold = 0.125;
    const float kMinThreshold = 0.0312;
    const vec4 kNotRead = vec4(0.0);

    vec3 color = FxaaPixelShader(vo_TexCoord, kNotRead, u_Picture, u_Picture, u_Picture,
                                 1.0 / vec2(textureSize(u_Picture, 0)), kNotRead, kNotRead, kNotRead, kSubpixel,
                                 kEdgeThreshold, kMinThreshold, 0.0, 0.0, 0.0, kNotRead).rgb;
    out_FragColor = vec4(color + dither(), 1.0);
}
