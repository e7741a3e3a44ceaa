// Lines in the world.
// In:  va_Vertex in the world; va_Color, linear.
#macro ZELVIEW_GLSL_VERSION #version 150

uniform mat4 u_ViewProjection;

in vec3 va_Vertex;
in vec3 va_Color;

out vec3 vo_Color;

void main()
{
    vo_Color = va_Color;
    gl_Position = u_ViewProjection * vec4(va_Vertex, 1.0);
}
