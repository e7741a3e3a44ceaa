#version 150

// The sun is at the origin; alpha is the emission of a body.
in vec3 vo_Position;
in vec3 vo_Normal;
flat in vec4 vo_Color;
uniform vec3 u_Eye;
out vec4 o_Color;

void main()
{
    vec3 normal = normalize(vo_Normal);
    float lit = 0.12 + 0.88 * max(dot(normal, -normalize(vo_Position)), 0.0);
    float rim = pow(1.0 - max(dot(normal, normalize(u_Eye - vo_Position)), 0.0), 3.0);
    o_Color = vec4(vo_Color.rgb * mix(lit, 1.0, vo_Color.a) + rim * vec3(0.10, 0.12, 0.16), 1.0);
}
