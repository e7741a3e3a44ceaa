#version 150

// Filters an environment for one pixel of a cube face, as prefilteredEnvMapCubeFS.glslc does, with samples from a table.
//
// u_SamplerEnvMap: the environment, with a mip chain.
// u_Samples:       by environmentSamples.frag; only those that count.
// u_SampleCount:   the number of samples.
// u_IsMirror:      reads the finest level: a roughness of 0, for which all samples are the same.
// Defines: KIT_SAMPLES, the size of the table.
#include "ImportanceSample.glslh"

uniform samplerCube u_SamplerEnvMap;
uniform int u_SampleCount;
uniform bool u_IsMirror;

layout(std140) uniform u_SampleTable
{
    vec4 u_Samples[KIT_SAMPLES];
};

in vec3 vo_Vertex;
out vec4 out_FragColor;

void main()
{
    vec3 N = normalize(vo_Vertex);
    mat3 frame = tangentToWorld(N);
    float texel = 0.5 * log2(texelSolidAngle(gl_FragCoord.y, vec2(textureSize(u_SamplerEnvMap, 0))));
    vec3 sum = vec3(0.0);
    float weight = 0.0;
    for (int i = 0; i < u_SampleCount; ++i) {
        vec4 s = u_Samples[i];
        sum += textureLod(u_SamplerEnvMap, frame * s.xyz, u_IsMirror ? 0.0 : s.w - texel).rgb * s.z;
        weight += s.z;
    }
    out_FragColor = vec4(sum / weight, 1.0);
}
