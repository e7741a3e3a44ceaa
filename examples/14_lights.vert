#version 150
#include "ZelUtilities.glslh"
#include "14_placement.glslh"
in vec3 va_Vertex;
in vec3 va_Normal;
uniform mat4 u_ViewProjection;
out vec3 vo_Position;
flat out vec3 vo_Normal;

void main()
{
    vo_Normal = va_Normal;
    vo_Position = placed(va_Vertex, getDrawID());
    gl_Position = u_ViewProjection * vec4(vo_Position, 1.0);
}
