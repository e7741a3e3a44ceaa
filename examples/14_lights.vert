#version 150

// The columns and the ground: on the screen, and in the layers of shadows.
#include "ZelUtilities.glslh"
in vec3 va_Vertex;
in vec3 va_Normal;
uniform mat4 u_Projection;
out vec3 vo_Position;
flat out vec3 vo_Normal;

// Columns on two rings around the centre; the last cube is the ground.
vec3 placed(vec3 vertex, uint id)
{
    if (id == uint(COLUMNS)) {
        return vertex * vec3(20.0, 0.1, 20.0) - vec3(0.0, 0.1, 0.0);
    }
    float ring = float(id % 2u);
    float turn = 6.2831853 * (float(id / 2u) + 0.5 * ring) / float(COLUMNS / 2);
    float radius = 3.6 + 2.6 * ring;
    return vec3(radius * cos(turn), 1.1 + 0.2 * ring, radius * sin(turn)) + vertex * vec3(0.16, 1.1 + 0.2 * ring, 0.16);
}

void main()
{
    vo_Normal = va_Normal;
    vo_Position = placed(va_Vertex, getDrawID());
    gl_Position = u_Projection * vec4(vo_Position, 1.0);
}
