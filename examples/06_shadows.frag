#version 150
#include "ShadowMapManager.glslh"
in vec3 vo_Position;
flat in uint vo_ID;
uniform vec3 u_ToSun;
out vec4 o_Color;

// The mean over a small disc around the point, with a bias towards the sun against shadow acne.
float sunlight(vec3 normal)
{
    vec3 right = normalize(cross(normal, vec3(0.34, 0.2, 0.92)));
    vec3 up = cross(normal, right);
    vec3 origin = vo_Position + 0.02 * normal + 0.02 * u_ToSun;
    float sum = 0.0;
    for (int i = 0; i < 16; ++i) {
        float angle = 2.3999632 * float(i);
        vec2 tap = 0.045 * sqrt((float(i) + 0.5) / 16.0) * vec2(cos(angle), sin(angle));
        sum += shadowMapGetVisibility(0u, origin + tap.x * right + tap.y * up);
    }
    return sum / 16.0;
}

void main()
{
    vec3 normal = normalize(cross(dFdx(vo_Position), dFdy(vo_Position)));
    vec3 hue = 0.5 + 0.5 * cos(6.2831853 * (0.07 * sqrt(float(vo_ID)) + vec3(0.55, 0.7, 0.85)));
    vec3 albedo = vo_ID == uint(TOWERS) ? vec3(0.62, 0.6, 0.57) : mix(vec3(0.75), hue, 0.6);
    vec3 sky = mix(vec3(0.20, 0.19, 0.18), vec3(0.34, 0.40, 0.50), 0.5 + 0.5 * normal.y);
    vec3 sun = vec3(1.05, 0.95, 0.80) * max(dot(normal, u_ToSun), 0.0);
    float distance = length(vo_Position.xz);
    vec3 color = pow(albedo * (sky + sun * sunlight(normal)), vec3(1.0 / 1.6));
    o_Color = vec4(mix(color, vec3(0.80, 0.84, 0.90), smoothstep(14.0, 38.0, distance)), 1.0);
}
