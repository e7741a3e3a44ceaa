// The bakes of image-based lighting: bake_zel [-size S] [-src T] [-samples N] [-brdf B] [-runs R] filters a cube of S from
// one of T with GGX, all levels, and integrates the BRDF table of B.
//
// Held constant: the source and its filters, seamless cubes, half floats. A run has what a host pays, which is the build of
// the program too; Mesa's shader cache makes that short from the second on.

#include "OffscreenStage.h"
#include "SideBySide.h"

#include <ZelGL/GLUtilities.h>
#include <ZelGL/OpenGLDeviceContext.h>
#include <ZelGL/PrefilteredEnvMap.h>
#include <ZelGL/Texture.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>

using namespace Orvane::Zel;

namespace {

/// The source of the peer program, texel for texel.
std::unique_ptr<Texture> sourceCube(int size)
{
    auto cube = std::make_unique<Texture>(GL_TEXTURE_CUBE_MAP, GL_RGBA16F, size, size, 0, nullptr);
    cube->bind();
    std::vector<float> texels(size_t(size) * size_t(size) * 4);
    for (unsigned face = 0; face < 6; ++face) {
        float *texel = texels.data();
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < size; ++x, texel += 4) {
                texel[0] = 0.5f + 0.5f * std::sin(0.1f * float(x) + float(face));
                texel[1] = 0.5f + 0.5f * std::cos(0.07f * float(y));
                texel[2] = (x / 16 + y / 16) % 2 != 0 ? 1.0f : 0.1f;
                texel[3] = 1.0f;
            }
        }
        glTexImage2D(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, 0, GL_RGBA16F, size, size, 0, GL_RGBA, GL_FLOAT,
                     texels.data());
    }
    glGenerateMipmap(GL_TEXTURE_CUBE_MAP);
    glTexParameteri(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    glTexParameteri(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    cube->unbind();
    return cube;
}

/// Milliseconds of CPU, all threads; the first bake, which warms the shader cache, is left out.
std::vector<double> measure(int runs, const std::function<Texture *()> &bake)
{
    std::vector<double> milliseconds;
    for (int run = -1; run < runs; ++run) {
        const double start = SideBySide::processCpuSeconds();
        const std::unique_ptr<Texture> result(bake());
        glFinish();
        const double end = SideBySide::processCpuSeconds();
        if (result == nullptr) {
            return {};
        }
        if (run >= 0) {
            milliseconds.push_back(1e3 * (end - start));
        }
    }
    return milliseconds;
}

} // namespace

int main(int argc, char **argv)
{
    const SideBySide::Arguments arguments(argc, argv);
    const int size = arguments.integer("-size", 64);
    const int brdf = arguments.integer("-brdf", 128);
    const int runs = arguments.integer("-runs", 3);
    const auto samples = unsigned(std::max(1, arguments.integer("-samples", 1024)));
    const std::unique_ptr<OffscreenStage> stage = OffscreenStage::create(64, 64);
    if (stage == nullptr) {
        return 1;
    }
    glEnable(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    {
        const std::unique_ptr<Texture> source = sourceCube(arguments.integer("-src", 256));
        SideBySide::printResult("bake_cube", "prefilter", size, "ms_cpu", measure(runs, [&] {
                                    return CreatePrefilteredCubeEnvMap(source.get(), size, samples,
                                                                       SHADING_PHYSICALLY_BASED, RGBA16F);
                                }));
    }
    SideBySide::printResult("bake_brdf", "table", brdf, "ms_cpu", measure(runs, [&] {
                                const auto levels = unsigned(MaxLODLevel(size, size));
                                return CreatePreintegratedBRDFTable(brdf, brdf, levels,
                                                                    SHADING_PHYSICALLY_BASED, RGBA16F);
                            }));
    OpenGLDeviceContext::resetContext();
    return 0;
}
