// Casters in the projection of a light.
// In:  u_ShadowProjection, from the world to depths of 0 to 1.
#macro ZELVIEW_GLSL_VERSION #version 150

uniform mat4 u_ShadowProjection;

#include "KitCasterVertex.glslh"
#include "ModelVertex.glslh"

void main()
{
    gl_Position = shadowCasterPosition(u_ShadowProjection * placeVertex());
}
