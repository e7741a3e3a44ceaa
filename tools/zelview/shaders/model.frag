// The lit surface of a model.
// In:  see ModelFragment.glslh; u_Occlusion of the opaque surfaces of the frame, for each pixel.
// Out: tone-mapped light, linear, premultiplied by opacity.
#macro ZELVIEW_GLSL_VERSION #version 150

out vec4 out_FragColor;

uniform float u_Exposure; // powers of two
uniform int u_MarkedMaterial; // material with a glowing rim; -1: none

#include "Frame.glslh"
#include "Material.glslh"
#include "FacingNormal.glslh"
#include "KitOcclusion.glslh"
#include "Shading.glslh"
#include "KitToneMap.glslh"

void main()
{
    vec3 toEye = normalize(u_Eye.xyz - vo_Position);
    vec3 normal = facingNormal(toEye);
    vec3 face = faceNormal(toEye, normal);
    vec3 position = positionAbove(face);
    vec4 base = materialColor();
    Surface surface = makeSurface(base.rgb, materialSurface(), position, face, materialNormal(normal), toEye);
    float openness = materialOpenness();
    if (!isBlended()) {
        openness *= opennessAt(-(u_View * vec4(vo_Position, 1.0)).z);
    }
    vec3 radiance = (shade(surface, openness) + materialEmission()) * exp2(u_Exposure);
    if (int(getMaterialNumber(kMaterial)) == u_MarkedMaterial) {
        radiance += vec3(1.0, 0.35, 0.02) * (0.12 + pow(1.0 - surface.cosEye, 3.0));
    }
#ifdef ZELVIEW_ENVIRONMENT
    vec3 color = compressHighlights(radiance); // like the background
#else
    vec3 color = toneMap(radiance);
#endif
    float opacity = isBlended() ? base.a : 1.0;
    out_FragColor = vec4(color * opacity, opacity);
}
