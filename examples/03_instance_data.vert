#version 150
#instancedata "Cube"
in vec3 va_Vertex;
in vec3 va_Normal;
uniform mat4 u_ViewProjection;
flat out vec3 vo_Color;

void main()
{
    vec3 normal = normalize(mat3(getPlacement()) * va_Normal);
    vo_Color = getColor().rgb * (0.5 + 0.5 * dot(normal, normalize(vec3(0.4, 0.7, 0.6))));
    gl_Position = u_ViewProjection * getPlacement() * vec4(va_Vertex, 1.0);
}
