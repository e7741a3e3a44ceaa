#version 150
#include "TextureManager.glslh"
#instancedata "Globe"
in vec3 vo_Position;
uniform vec3 u_Eye;
out vec4 o_Color;

void main()
{
    vec3 normal = normalize(vo_Position);
    vec2 onGlobe = vec2(atan(normal.x, normal.z), asin(normal.y)) / 3.1415927 + vec2(1.0, 0.5); // the seam is at the back
    vec4 tile = managedTexture(getTiles(0u), onGlobe * vec2(0.5, 1.0) * TILES);
    float light = 0.35 + 0.75 * max(dot(normal, normalize(vec3(0.4, 0.7, 0.6))), 0.0);
    float rim = pow(1.0 - dot(normal, normalize(u_Eye - vo_Position)), 3.0);
    o_Color = vec4(tile.rgb * light + 0.25 * rim, 1.0);
}
