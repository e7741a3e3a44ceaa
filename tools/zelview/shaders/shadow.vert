// Casters in the projection of a light.
// In:  u_ShadowProjection, from the world to depths of 0 to 1.
#macro ZELVIEW_GLSL_VERSION #version 150

uniform mat4 u_ShadowProjection;

#include "ModelVertex.glslh"

void main()
{
    gl_Position = u_ShadowProjection * placeVertex();
    gl_Position.z = 2.0 * gl_Position.z - gl_Position.w; // the depth range of the window maps this back to the projected z
}
