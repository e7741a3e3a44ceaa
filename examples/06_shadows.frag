#version 150
#include "KitShadows.glslh"
in vec3 vo_Position;
flat in uint vo_ID;
out vec4 o_Color;

void main()
{
    vec3 normal = normalize(cross(dFdx(vo_Position), dFdy(vo_Position)));
    float sunlight = shadowIrradiance(0, vo_Position, normal);
    vec3 hue = 0.5 + 0.5 * cos(6.2831853 * (0.07 * sqrt(float(vo_ID)) + vec3(0.55, 0.7, 0.85)));
    vec3 albedo = vo_ID == uint(TOWERS) ? vec3(0.62, 0.6, 0.57) : mix(vec3(0.75), hue, 0.6);
    vec3 sky = mix(vec3(0.20, 0.19, 0.18), vec3(0.34, 0.40, 0.50), 0.5 + 0.5 * normal.y);
    vec3 color = pow(albedo * (sky + sunlight * vec3(1.05, 0.95, 0.80)), vec3(1.0 / 1.6));
    float distance = length(vo_Position.xz);
    o_Color = vec4(mix(color, vec3(0.80, 0.84, 0.90), smoothstep(14.0, 38.0, distance)), 1.0);
}
