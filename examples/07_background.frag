#version 150
#include "ZelUtilities.glslh"
in vec2 vo_TexCoord;
uniform vec2 u_HalfExtent;
uniform sampler2D u_Gloss;
out vec4 o_Color;

void main()
{
    vec3 direction = normalize(vec3((2.0 * vo_TexCoord - 1.0) * u_HalfExtent, -1.0));
    vec3 color = textureLod(u_Gloss, directionToLatLong(direction), 2.5).rgb;
    o_Color = vec4(pow(color / (1.0 + 0.35 * color), vec3(1.0 / 2.2)), 1.0);
}
