#version 150
#include "ZelUtilities.glslh"
in vec3 va_Vertex;
in vec3 va_Normal;
uniform mat4 u_ViewProjection;
uniform float u_Values[12];
flat out vec3 vo_Color;

void main()
{
    uint id = getDrawID();
    float value = u_Values[id] / 23.0;
    vec3 corner = va_Vertex * 0.5 + vec3(0.0, 0.5, 0.0);
    vec3 position = corner * vec3(1.1, 7.0 * value, 1.1) + vec3(1.5 * (float(id) - 5.5), 0.0, 0.0);
    vec3 hue = mix(vec3(0.20, 0.48, 0.90), vec3(0.98, 0.55, 0.25), value);
    vo_Color = hue * (0.62 + 0.38 * dot(va_Normal, normalize(vec3(0.25, 0.9, 0.45))));
    gl_Position = u_ViewProjection * vec4(position, 1.0);
}
