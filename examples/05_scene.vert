#version 150
#instancedata "Body"
in vec3 va_Vertex;
in vec3 va_Normal;
uniform mat4 u_ViewProjection;
out vec3 vo_Position;
out vec3 vo_Normal;
flat out vec4 vo_Color;

// The nine numbers are stored in the first of the sixteen of the member.
mat3 normalMatrix()
{
    mat4 numbers = getModelNormalMatrix();
    return mat3(numbers[0], numbers[1], numbers[2].x);
}

void main()
{
    vec4 position = getModelMatrix() * vec4(va_Vertex, 1.0);
    vo_Position = position.xyz;
    vo_Normal = normalMatrix() * va_Normal;
    vo_Color = getColor();
    gl_Position = u_ViewProjection * position;
}
