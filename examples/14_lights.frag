#version 150
#include "ShadowMapManager.glslh"
in vec3 vo_Position;
flat in vec3 vo_Normal;
uniform vec3 u_Spot;
uniform vec3 u_Lamp;
out vec4 o_Color;

void main()
{
    vec3 toSpot = normalize(u_Spot - vo_Position);
    vec3 axis = normalize(u_Spot - vec3(1.5, 0.0, 0.0));
    float cone = smoothstep(cos(0.40), cos(0.34), dot(toSpot, axis));
    float spot = cone * max(dot(vo_Normal, toSpot), 0.0) * shadowMapGetVisibility(0u, vo_Position + 0.05 * vo_Normal);

    vec3 toLamp = u_Lamp - vo_Position;
    float fading = 1.0 / (1.0 + 0.22 * dot(toLamp, toLamp));
    vec3 lampDirection = normalize(toLamp);
    float lamp = fading * max(dot(vo_Normal, lampDirection), 0.0)
        * shadowMapGetVisibility(1u, vo_Position + 0.05 * vo_Normal);

    vec3 light = vec3(0.035, 0.045, 0.07) + spot * vec3(0.55, 0.75, 1.1) + lamp * vec3(2.4, 1.35, 0.6);
    float distance = length(vo_Position.xz);
    vec3 color = pow(0.85 * light, vec3(1.0 / 2.2));
    o_Color = vec4(mix(color, vec3(0.075, 0.086, 0.105), smoothstep(9.0, 18.0, distance)), 1.0);
}
