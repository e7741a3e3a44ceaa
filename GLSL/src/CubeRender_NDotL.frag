#version 150

// Weights the texels of a cube map by a power of the cosine to the pixel's direction, several layers at once. The texels are on
// a grid of at most 128 by 128 directions for each face.
//
// s_texture: the cube map.
// s_blur:    for each layer, 0 for the cosine itself to 1 for its 8192nd power.
// Defines: TVO_CUBERENDER_NDOT_BATCH_SIZE, the number of layers.
struct Blur
{
    float value;
};

uniform samplerCube s_texture;
uniform Blur s_blur[TVO_CUBERENDER_NDOT_BATCH_SIZE];

in vec3 it_normal;
out vec4 o_TvoFragData[TVO_CUBERENDER_NDOT_BATCH_SIZE];

vec3 sums[TVO_CUBERENDER_NDOT_BATCH_SIZE];
float weights[TVO_CUBERENDER_NDOT_BATCH_SIZE];
float exponents[TVO_CUBERENDER_NDOT_BATCH_SIZE];

// Defined after main(): some compilers warn if the exponents are read above the place where they are written.
void addSample(in vec3 n, in vec3 direction);

void main()
{
    vec3 n = normalize(it_normal);
    vec3 own = texture(s_texture, n).rgb;
    for (int i = 0; i < TVO_CUBERENDER_NDOT_BATCH_SIZE; ++i) {
        sums[i] = own;
        weights[i] = 1.0;
        exponents[i] = exp2(13.0 * s_blur[i].value);
    }
    vec2 loopCount = min(vec2(128.0), vec2(textureSize(s_texture, 0)));
    vec2 stepSize = 2.0 / loopCount;
    const vec3 opposite = vec3(1.0, 1.0, -1.0);
    for (float y = -1.0; y <= 1.0; y += stepSize.y) {
        for (float x = -1.0; x <= 1.0; x += stepSize.x) {
            vec3 lerp = vec3(x, y, 1.0);
            vec3 dir = normalize(lerp);
            addSample(n, dir.xyz);
            addSample(n, dir.xyz * opposite);
            addSample(n, dir.yzx);
            addSample(n, dir.yzx * opposite);
            addSample(n, dir.zxy);
            addSample(n, dir.zxy * opposite);
        }
    }
    for (int i = 0; i < TVO_CUBERENDER_NDOT_BATCH_SIZE; ++i) {
        o_TvoFragData[i] = vec4(sums[i] / weights[i], 1.0);
    }
}

void addSample(in vec3 n, in vec3 direction)
{
    float NdotL = dot(n, direction);
    if (NdotL <= 0.0) { // before the read, which costs most
        return;
    }
    vec3 color = textureLod(s_texture, direction, 0.0).rgb;
    for (int i = 0; i < TVO_CUBERENDER_NDOT_BATCH_SIZE; ++i) {
        float weight = max(0.0, pow(NdotL, exponents[i]));
        sums[i] += color * weight;
        weights[i] += weight;
    }
}
