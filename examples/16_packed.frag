#version 150

in vec3 vo_Position;
flat in vec4 vo_Color;
out vec4 o_Color;

void main()
{
    vec3 normal = normalize(cross(dFdx(vo_Position), dFdy(vo_Position))); // of the flat face
    float lit = max(dot(normal, normalize(vec3(-0.7, 0.6, 0.4))), 0.0);
    o_Color = vec4(vo_Color.rgb * (0.15 + lit), 1.0);
}
