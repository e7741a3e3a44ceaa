// The surface of a model in the light of the studio.
// In:  what model.vert puts out; u_Occlusion, of the opaque surfaces of the frame, pixel by pixel.
// Out: what a screen can show of the light that reaches the eye, linear, premultiplied by opacity.
#macro ZELVIEW_GLSL_VERSION #version 150

in vec3 vo_Position;
in vec3 vo_Normal;
in vec2 vo_TexCoord;
in vec4 vo_Color;
flat in uint vo_DrawID;

out vec4 out_FragColor;

uniform float u_Exposure; // powers of two

#include "DrawRecords.glslh"
#include "Frame.glslh"
#include "Environment.glslh"
#include "FacingNormal.glslh"
#include "Occlusion.glslh"
#include "Shading.glslh"
#include "TextureManager.glslh"
#include "ToneMap.glslh"

void main()
{
    vec3 toEye = normalize(u_Eye.xyz - vo_Position);
    vec4 base = u_Draws[vo_DrawID].baseColor * vo_Color * managedTexture(u_Draws[vo_DrawID].baseColorMap, vo_TexCoord);
    float cutoff = u_Draws[vo_DrawID].alphaCutoff;
    if (base.a < cutoff) {
        discard;
    }
    float opacity = cutoff == 0.0 ? base.a : 1.0;
    Surface surface = makeSurface(base.rgb, u_Draws[vo_DrawID].metalness, u_Draws[vo_DrawID].roughness,
                                  facingNormal(toEye), toEye);
    float openness = cutoff == 0.0 ? 1.0 : opennessAt(-(u_View * vec4(vo_Position, 1.0)).z);
    vec3 radiance = shade(surface, openness) + u_Draws[vo_DrawID].emission;
    radiance *= exp2(u_Exposure);
#ifdef ZELVIEW_ENVIRONMENT
    vec3 color = compressHighlights(radiance); // like the background
#else
    vec3 color = toneMap(radiance);
#endif
    out_FragColor = vec4(color * opacity, opacity);
}
