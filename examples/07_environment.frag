#version 150

// The roughness grows from left to right; from bottom to top: glossy paint, copper, gold.
#include "KitEnvironment.glslh"
#include "KitToneMap.glslh"
in vec3 vo_Position;
in vec3 vo_Normal;
flat in uint vo_ID;
uniform vec3 u_Eye;
out vec4 o_Color;

void main()
{
    float roughness = 0.8 * float(vo_ID % uint(COLUMNS)) / float(COLUMNS - 1);
    uint row = vo_ID / uint(COLUMNS);
    vec3 diffuse = row == 0u ? vec3(0.45, 0.05, 0.06) : vec3(0.0);
    vec3 specular = row == 0u ? vec3(0.04) : row == 1u ? vec3(0.95, 0.64, 0.54) : vec3(1.0, 0.78, 0.34);

    vec3 normal = normalize(vo_Normal);
    vec3 toEye = normalize(u_Eye - vo_Position);
    vec2 reflectance = environmentReflectance(max(dot(normal, toEye), 0.0), roughness);
    vec3 color = diffuse * environmentScattered(normal)
        + (specular * reflectance.x + reflectance.y) * environmentMirrored(reflect(-toEye, normal), roughness);
    o_Color = vec4(pow(toneMap(color), vec3(1.0 / 2.2)), 1.0);
}
