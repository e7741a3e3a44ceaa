#version 150
#include "ZelUtilities.glslh"
in vec3 va_Vertex;
in vec3 va_Normal;
uniform mat4 u_ViewProjection;
uniform int u_Picked;
out vec3 vo_Position;
flat out vec3 vo_Color;

void main()
{
    uint id = getDrawID();
    vec2 place = vec2(id % uint(COLUMNS), id / uint(COLUMNS)) - vec2(0.5 * float(COLUMNS - 1), 7.0);
    float height = 0.35 + 2.6 * pow(0.5 + 0.5 * sin(0.62 * place.x) * cos(0.55 * place.y + 0.4), 2.0)
        + 0.5 * fract(sin(float(id) * 12.9898) * 43758.5453);
    vo_Position = vec3(place.x, 0.0, place.y) + (va_Vertex + vec3(0.0, 1.0, 0.0)) * vec3(0.43, 0.5 * height, 0.43);
    vec3 hue = mix(vec3(0.16, 0.35, 0.55), vec3(0.55, 0.80, 0.85), height / 3.4);
    vo_Color = int(id) == u_Picked ? vec3(1.15) : hue;
    vo_Color *= 0.55 + 0.45 * dot(va_Normal, normalize(vec3(-0.3, 0.8, 0.5)));
    gl_Position = u_ViewProjection * vec4(vo_Position, 1.0);
}
