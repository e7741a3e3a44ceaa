#version 150
#include "ZelUtilities.glslh"
#instancedata "Gem"
in vec3 va_Vertex;
uniform mat4 u_ViewProjection;
out vec3 vo_Color;

void main()
{
    vo_Color = getColor().rgb * (0.7 + dot(va_Vertex, vec3(0.1, 0.35, 0.2)));
    gl_Position = u_ViewProjection * vec4(getPlace().xyz + getPlace().w * va_Vertex, 1.0);
}
