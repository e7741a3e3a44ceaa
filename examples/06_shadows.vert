#version 150

// The towers and the ground: on the screen, and in the layers of shadows.
#include "ZelUtilities.glslh"
in vec3 va_Vertex;
uniform mat4 u_Projection;
out vec3 vo_Position;
flat out uint vo_ID;

vec3 placed(vec3 vertex, uint id)
{
    if (id == uint(TOWERS)) {
        return vertex * vec3(40.0, 0.5, 40.0) - vec3(0.0, 0.5, 0.0);
    }
    float turn = 2.3999632 * float(id); // the golden angle, as in a sunflower
    float radius = 0.95 * sqrt(float(id) + 0.6);
    float height = 0.35 + 1.6 * pow(0.5 + 0.5 * sin(1.7 * float(id)), 3.0);
    vec2 corner = mat2(cos(turn), sin(turn), -sin(turn), cos(turn)) * vertex.xz * 0.38;
    return vec3(radius * cos(turn), 0.0, radius * sin(turn)) + vec3(corner.x, (vertex.y + 1.0) * height, corner.y);
}

void main()
{
    vo_ID = getDrawID();
    vo_Position = placed(va_Vertex, vo_ID);
    gl_Position = u_Projection * vec4(vo_Position, 1.0);
}
