// What ambient occlusion is judged from: where the opaque surfaces of a model are, and how they face.
// In:  what model.vert puts out.
// Out: unit normal in view space, distance along the view.
#macro ZELVIEW_GLSL_VERSION #version 150

in vec3 vo_Position;
in vec3 vo_Normal;
in vec2 vo_TexCoord;
in vec4 vo_Color;
flat in uint vo_DrawID;

out vec4 out_FragColor;

#include "DrawRecords.glslh"
#include "Frame.glslh"
#include "FacingNormal.glslh"
#include "TextureManager.glslh"

void main()
{
    float mapAlpha = managedTexture(u_Draws[vo_DrawID].baseColorMap, vo_TexCoord).a;
    float alpha = u_Draws[vo_DrawID].baseColor.a * vo_Color.a * mapAlpha;
    if (alpha < u_Draws[vo_DrawID].alphaCutoff) {
        discard;
    }
    vec3 normal = mat3(u_View) * facingNormal(normalize(u_Eye.xyz - vo_Position));
    out_FragColor = vec4(normal, -(u_View * vec4(vo_Position, 1.0)).z);
}
