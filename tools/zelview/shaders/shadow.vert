// Casters in the projection of a light.
// In:  u_ShadowProjection, that of a layer.
#macro ZELVIEW_GLSL_VERSION #version 150

uniform mat4 u_ShadowProjection;

#include "ModelVertex.glslh"

void main()
{
    gl_Position = u_ShadowProjection * placeVertex();
}
