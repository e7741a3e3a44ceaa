#version 150
#include "KitShadows.glslh"
in vec3 vo_Position;
flat in vec3 vo_Normal;
out vec4 o_Color;

void main()
{
    vec3 light = vec3(0.035, 0.045, 0.07) + vec3(55.0, 75.0, 110.0) * shadowIrradiance(0, vo_Position, vo_Normal)
                 + vec3(6.6, 3.7, 1.65) * shadowIrradiance(1, vo_Position, vo_Normal);
    vec3 color = pow(0.85 * light, vec3(1.0 / 2.2));
    o_Color = vec4(mix(color, vec3(0.075, 0.086, 0.105), smoothstep(9.0, 18.0, length(vo_Position.xz))), 1.0);
}
