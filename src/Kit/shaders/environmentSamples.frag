#version 150

// The samples of a level, a pixel for each: the direction in the frame of the normal, whose z is the weight, and the level of the
// source to read, less half the binary logarithm of the solid angle of a texel there.
//
// u_Roughness:  0 to 1.
// u_NumSamples: the number of directions.
// Defines: ZEL_BRDF, the shading model.
#include "ImportanceSample.glslh"

uniform float u_Roughness;
uniform uint u_NumSamples;

out vec4 out_FragColor;

void main()
{
    const vec3 kNormal = vec3(0.0, 0.0, 1.0); // also the view
    vec3 direction = importanceSampleBRDF(hammersley(uint(gl_FragCoord.x), u_NumSamples), u_Roughness);
#if ZEL_BRDF >= SHADING_DIFFUSE_START_INDEX
    vec3 L = direction;
    vec3 H = normalize(L + kNormal);
#else
    vec3 H = direction;
    vec3 L = reflect(-kNormal, H);
#endif
    float NdotH = clamp(H.z, 0.0, 1.0);
    out_FragColor = vec4(L, sampleLOD(pdfBRDF(u_Roughness, NdotH, NdotH), u_NumSamples, 1.0));
}
