#version 150

// Edit this file, or the one that it includes, while the example shows it.

#include "08_hot_reload.glslh"

in vec2 vo_TexCoord;
out vec4 o_Color;
uniform float u_Aspect;
uniform float u_Seconds;
uniform vec4 u_Background;

void main()
{
    vec2 fromCenter = (vo_TexCoord - 0.5) * vec2(u_Aspect, 1.0);
    float turn = atan(fromCenter.y, fromCenter.x);
    float edge = length(fromCenter) - 0.34 - 0.06 * sin(PETALS * turn + u_Seconds);
    float cover = clamp(0.5 - edge / fwidth(edge), 0.0, 1.0);
    o_Color = mix(u_Background, vec4(petalColor(-edge), 1.0), cover);
}
