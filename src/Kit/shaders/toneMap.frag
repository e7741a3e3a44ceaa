// Maps light of any strength to the range of the screen.
// In:  u_Frame, linear; u_Exposure in powers of two; vo_TexCoord.
// Out: linear from 0 to 1.
#version 150

uniform sampler2D u_Frame;
uniform float u_Exposure;

in vec2 vo_TexCoord;

out vec4 out_FragColor;

#include "KitToneMap.glslh"

void main()
{
    out_FragColor = vec4(toneMap(max(texture(u_Frame, vo_TexCoord).rgb, 0.0) * exp2(u_Exposure)), 1.0);
}
