// Vertices of a model, placed by the record of their draw.
// In:  va_Vertex, va_Normal in the mesh's space; va_Color linear, white where the mesh has none.
// Out: position and normal in the world, for model.frag; the draw's ID within the bound block.
#macro ZELVIEW_GLSL_VERSION #version 150

in vec3 va_Vertex;
in vec3 va_Normal;
in vec2 va_TexCoord;
in vec4 va_Color;

out vec3 vo_Position;
out vec3 vo_Normal;
out vec2 vo_TexCoord;
out vec4 vo_Color;
flat out uint vo_DrawID;

#include "ZelUtilities.glslh"
#include "DrawRecords.glslh"
#include "Frame.glslh"

void main()
{
    uint drawID = getDrawID();
    vec4 position = u_Draws[drawID].model * vec4(va_Vertex, 1.0);
    vo_Position = position.xyz;
    vo_Normal = u_Draws[drawID].normal * va_Normal;
    vo_TexCoord = va_TexCoord;
    vo_Color = va_Color;
    vo_DrawID = drawID;
    gl_Position = u_ViewProjection * position;
}
