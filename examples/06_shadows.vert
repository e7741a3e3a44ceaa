#version 150
#include "ZelUtilities.glslh"
#include "06_placement.glslh"
in vec3 va_Vertex;
uniform mat4 u_ViewProjection;
out vec3 vo_Position;
flat out uint vo_ID;

void main()
{
    vo_ID = getDrawID();
    vo_Position = placed(va_Vertex, vo_ID);
    gl_Position = u_ViewProjection * vec4(vo_Position, 1.0);
}
