#version 150
#include "ZelUtilities.glslh"
#instancedata "Card"
in vec3 va_Vertex;
in vec2 va_TexCoord;
uniform float u_Aspect;
flat out uint vo_Card;
out vec2 vo_TexCoord;

void main()
{
    vo_Card = getDrawID();
    vo_TexCoord = va_TexCoord;
    vec4 place = getPlace(); // x, y, half the height, angle
    vec2 corner = mat2(cos(place.w), sin(place.w), -sin(place.w), cos(place.w)) * va_Vertex.xy * place.z;
    gl_Position = vec4((place.xy + corner) / vec2(u_Aspect, 1.0), 0.0, 1.0);
}
