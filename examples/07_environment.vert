#version 150
#include "ZelUtilities.glslh"
in vec3 va_Vertex;
in vec3 va_Normal;
uniform mat4 u_ViewProjection;
out vec3 vo_Position;
out vec3 vo_Normal;
flat out uint vo_ID;

void main()
{
    vo_ID = getDrawID();
    vec2 place = vec2(vo_ID % uint(COLUMNS), vo_ID / uint(COLUMNS)) - 0.5 * vec2(COLUMNS - 1, ROWS - 1);
    vo_Position = va_Vertex + 2.3 * vec3(place, 0.0);
    vo_Normal = va_Normal;
    gl_Position = u_ViewProjection * vec4(vo_Position, 1.0);
}
