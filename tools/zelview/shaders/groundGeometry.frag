// The ground as input of ambient occlusion, like the model in geometry.frag.
// In:  vo_TexCoord from 0 to 1, lower left to upper right; see GroundPosition.glslh.
// Out: unit normal in view space, distance along the view.
#macro ZELVIEW_GLSL_VERSION #version 150

in vec2 vo_TexCoord;

out vec4 out_FragColor;

#include "GroundPosition.glslh"

void main()
{
    vec3 position;
    if (!groundPosition(vo_TexCoord, position)) {
        discard;
    }
    out_FragColor = vec4(mat3(u_View) * vec3(0.0, 1.0, 0.0), -(u_View * vec4(position, 1.0)).z);
}
