#version 150
in vec3 va_Vertex;
uniform mat4 u_ViewProjection;
out vec3 vo_Position;

void main()
{
    vo_Position = va_Vertex;
    gl_Position = u_ViewProjection * vec4(va_Vertex, 1.0);
}
