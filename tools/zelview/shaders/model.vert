// A model as the camera of the frame sees it.
#macro ZELVIEW_GLSL_VERSION #version 150

#include "ModelVertex.glslh"
#include "Frame.glslh"

void main()
{
    gl_Position = u_ViewProjection * placeVertex();
}
