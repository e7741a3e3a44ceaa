// The input of ambient occlusion: distances and normals of the opaque surfaces of a model.
// In:  see ModelFragment.glslh.
// Out: unit normal of the face in view space, distance along the view.
#macro ZELVIEW_GLSL_VERSION #version 150

out vec4 out_FragColor;

#include "Frame.glslh"
#include "Material.glslh"
#include "FacingNormal.glslh"

void main()
{
    // Not the normal of the mesh: with an interpolated normal, as beside hard edges, the face would occlude itself.
    vec3 toEye = normalize(u_Eye.xyz - vo_Position);
    vec3 normal = mat3(u_View) * faceNormal(toEye, facingNormal(toEye));
    materialColor();
    out_FragColor = vec4(normal, -(u_View * vec4(vo_Position, 1.0)).z);
}
