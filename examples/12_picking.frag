#version 150
in vec3 vo_Position;
flat in vec3 vo_Color;
uniform vec3 u_Point;
out vec4 o_Color;

void main()
{
    float radius = distance(vo_Position, u_Point);
    float ring = smoothstep(0.12, 0.06, abs(fract(radius) - 0.5)) * smoothstep(4.0, 3.0, radius);
    o_Color = vec4(mix(vo_Color, vec3(1.0, 0.55, 0.15), ring), 1.0);
}
