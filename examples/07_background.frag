#version 150
#include "KitEnvironment.glslh"
#include "KitToneMap.glslh"
in vec2 vo_TexCoord;
uniform vec2 u_HalfExtent;
out vec4 o_Color;

void main()
{
    vec3 direction = normalize(vec3((2.0 * vo_TexCoord - 1.0) * u_HalfExtent, -1.0));
    o_Color = vec4(pow(toneMap(environmentMirrored(direction, 0.3)), vec3(1.0 / 2.2)), 1.0);
}
