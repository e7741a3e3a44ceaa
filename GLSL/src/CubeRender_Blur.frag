#version 150

// Blurs a cube face by up to 45 degrees, several layers at once. A pixel is the mean of its own texel and of the texels within
// the angle of its layer, on a grid of at most 128 by 128 directions for each face.
//
// s_texture: the cube map.
// s_blur:    for each layer, 0 for no blur to 1 for 45 degrees.
// Defines: TVO_CUBERENDER_BLUR_BATCH_SIZE, the number of layers. The library does not define it, so this file does not compile
//          there; see TvoImageCubemapUtilsTest.BlursKeepTheClearColours.
struct Blur
{
    float value;
};

uniform samplerCube s_texture;
uniform Blur s_blur[TVO_CUBERENDER_BLUR_BATCH_SIZE];

in vec3 it_normal;
out vec4 o_TvoFragData[TVO_CUBERENDER_BLUR_BATCH_SIZE];

// From a point of the face +Z to the same point of all six.
const mat3 kFaces[6] = mat3[6](
    mat3(+1, 0, 0, 0, +1, 0, 0, 0, +1), mat3(+1, 0, 0, 0, +1, 0, 0, 0, -1),
    mat3(0, +1, 0, 0, 0, +1, +1, 0, 0), mat3(0, +1, 0, 0, 0, +1, -1, 0, 0),
    mat3(0, 0, +1, +1, 0, 0, 0, +1, 0), mat3(0, 0, +1, +1, 0, 0, 0, -1, 0));

void main()
{
    vec3 n = normalize(it_normal);
    vec3 own = texture(s_texture, n).rgb;
    vec3 sums[TVO_CUBERENDER_BLUR_BATCH_SIZE];
    float counts[TVO_CUBERENDER_BLUR_BATCH_SIZE];
    float thresholds[TVO_CUBERENDER_BLUR_BATCH_SIZE];
    float smallestThreshold = 1.0;
    for (int i = 0; i < TVO_CUBERENDER_BLUR_BATCH_SIZE; ++i) {
        sums[i] = own;
        counts[i] = 1.0;
        thresholds[i] = mix(1.0, 0.707, s_blur[i].value); // the cosine of 45 degrees
        smallestThreshold = min(smallestThreshold, thresholds[i]);
    }
    vec2 loopCount = min(vec2(128.0), vec2(textureSize(s_texture, 0)));
    vec2 stepSize = 2.0 / loopCount;
    for (float y = -1.0; y <= 1.0; y += stepSize.y) {
        for (float x = -1.0; x <= 1.0; x += stepSize.x) {
            for (int face = 0; face < 6; ++face) {
                vec3 direction = normalize(kFaces[face] * vec3(x, y, 1.0));
                float cosine = dot(direction, n);
                if (cosine < smallestThreshold) { // before the read, which costs most
                    continue;
                }
                vec3 color = textureLod(s_texture, direction, 0.0).rgb;
                for (int i = 0; i < TVO_CUBERENDER_BLUR_BATCH_SIZE; ++i) {
                    if (cosine >= thresholds[i]) {
                        sums[i] += color;
                        counts[i] += 1.0;
                    }
                }
            }
        }
    }
    for (int i = 0; i < TVO_CUBERENDER_BLUR_BATCH_SIZE; ++i) {
        o_TvoFragData[i] = vec4(counts[i] > 1.0 ? sums[i] / counts[i] : sums[i], 1.0);
    }
}
