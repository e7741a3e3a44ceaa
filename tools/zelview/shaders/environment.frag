// The environment as the background of a model.
// In:  vo_TexCoord from 0 to 1, lower left to upper right; u_Blur from 0, the image itself, to 1; u_HalfExtent of the
//      view at distance 1; u_Exposure in powers of two.
// Out: linear, in the range of the screen.
#macro ZELVIEW_GLSL_VERSION #version 150

uniform samplerCube u_Sharp;
uniform mat4 u_ViewToWorld; // rotation
uniform vec2 u_HalfExtent;
uniform float u_Blur;
uniform float u_Exposure;

in vec2 vo_TexCoord;

out vec4 out_FragColor;

#include "KitEnvironment.glslh"
#include "KitToneMap.glslh"

void main()
{
    vec3 direction = normalize(mat3(u_ViewToWorld) * vec3((2.0 * vo_TexCoord - 1.0) * u_HalfExtent, -1.0));
    vec3 light = u_Blur > 0.0 ? environmentMirrored(direction, u_Blur) : texture(u_Sharp, mat3(u_ToEnvironment) * direction).rgb;
    out_FragColor = vec4(compressHighlights(light * exp2(u_Exposure)), 1.0);
}
