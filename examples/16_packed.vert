#version 150
#instancedata "Rock"
#instancedata "Stone"
in vec3 va_Vertex;
uniform mat4 u_ViewProjection;
out vec3 vo_Position;
flat out vec4 vo_Color;

void main()
{
    vec4 position = getModelMatrix() * vec4(va_Vertex, 1.0); // of this rock
    vo_Position = position.xyz;
    vo_Color = getColor(0u); // of all rocks of the call
    gl_Position = u_ViewProjection * position;
}
