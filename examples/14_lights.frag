#version 150
#include "KitShadows.glslh"
in vec3 vo_Position;
flat in vec3 vo_Normal;
out vec4 o_Color;

float lit(int light)
{
    vec3 toLight = shadowDirectionTo(light, vo_Position);
    return max(dot(vo_Normal, toLight), 0.0) * shadowVisibility(light, vo_Position, vo_Normal, toLight);
}

void main()
{
    float cone = smoothstep(cos(0.40), cos(0.34), shadowAxisCosine(0, vo_Position));
    float distance = shadowDistanceTo(1, vo_Position);
    float fading = 1.0 / (1.0 + 0.22 * distance * distance);
    vec3 light = vec3(0.035, 0.045, 0.07) + cone * lit(0) * vec3(0.55, 0.75, 1.1) + fading * lit(1) * vec3(2.4, 1.35, 0.6);
    vec3 color = pow(0.85 * light, vec3(1.0 / 2.2));
    o_Color = vec4(mix(color, vec3(0.075, 0.086, 0.105), smoothstep(9.0, 18.0, length(vo_Position.xz))), 1.0);
}
