// The bakes of image-based lighting: a cube map of size S filtered with GGX, all levels, and a BRDF table of size B.
//
//   bake_zel [-size S] [-src T] [-samples N] [-brdf B] [-runs R] [-image FILE] [-compare FILE]
//
// The source is the peer's pattern on a cube map of size T, or with -image a latlong Radiance picture; then the time
// includes the conversion of the file to a cube map with a mip chain. -compare prints the differences to the results that
// the peer program read back (see KeepReadback.cpp), in steps of half floats.
//
// The rows bake_light bake all that shading needs, 256 texels with 128 samples, diffuse light with 2,048 and a table of 64: by the
// library's calls, and by EnvironmentBake of ZelGL::Kit.
//
// Held constant: the source and its filters, seamless cube maps, half floats. A run includes the whole cost for a host, also
// the build of the program, which Mesa's shader cache makes short from the second run on.

#include "../environments/TextureImages.h"
#include "OffscreenStage.h"
#include "SideBySide.h"

#include <ZelGL/GLUtilities.h>
#include <ZelGL/OpenGLDeviceContext.h>
#include <ZelGL/PrefilteredEnvMap.h>
#include <ZelGL/Texture.h>
#include <ZelKit/EnvironmentBake.h>

#include <QtCore/qfloat16.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>

using namespace Orvane::Zel;
using namespace TextureImages;

namespace {

using Floats = std::vector<float>;

constexpr unsigned kPeersLevels = 9; ///< number of environment levels that the peer's table assumes

void setTrilinear(GLenum target)
{
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    glTexParameteri(target, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
}

/// The source of the peer program, texel for texel.
TexturePointer patternCube(int size)
{
    auto cube = std::make_unique<Texture>(GL_TEXTURE_CUBE_MAP, GL_RGBA16F, size, size, 0, nullptr);
    cube->bind();
    Floats texels(size_t(size) * size_t(size) * 4);
    for (int face = 0; face < 6; ++face) {
        float *texel = texels.data();
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < size; ++x, texel += 4) {
                texel[0] = 0.5f + 0.5f * std::sin(0.1f * float(x) + float(face));
                texel[1] = 0.5f + 0.5f * std::cos(0.07f * float(y));
                texel[2] = (x / 16 + y / 16) % 2 != 0 ? 1.0f : 0.1f;
                texel[3] = 1.0f;
            }
        }
        glTexImage2D(faceTarget(face), 0, GL_RGBA16F, size, size, 0, GL_RGBA, GL_FLOAT, texels.data());
    }
    glGenerateMipmap(GL_TEXTURE_CUBE_MAP);
    setTrilinear(GL_TEXTURE_CUBE_MAP);
    cube->unbind();
    return cube;
}

/// CPU milliseconds of all threads, and the last result. The first bake, which fills the shader cache, is not timed.
struct Bake
{
    Bake(int runs, const std::function<TexturePointer()> &work)
    {
        for (int run = -1; run < runs; ++run) {
            result.reset();
            const double start = SideBySide::processCpuSeconds();
            result = work();
            glFinish();
            const double end = SideBySide::processCpuSeconds();
            if (run >= 0 && result != nullptr) {
                milliseconds.push_back(1e3 * (end - start));
            }
        }
    }

    TexturePointer result;
    std::vector<double> milliseconds;
};

/// The light of an environment by the library's calls, and by ZelGL::Kit, printed.
void bakeLight(Texture &source, int runs)
{
    const Bake byCalls(runs, [&] {
        const TexturePointer specular(
            CreatePrefilteredCubeEnvMap(&source, 256, 128, SHADING_PHYSICALLY_BASED, RGBA16F));
        const TexturePointer diffuse(
            CreatePrefilteredCubeEnvMap(&source, 32, 2048, SHADING_LAMBERTIAN_DIFFUSE, RGBA16F));
        return TexturePointer(CreatePreintegratedBRDFTable(64, 64, 9, SHADING_PHYSICALLY_BASED, RGBA16F));
    });
    const Bake byKit(runs, [&] {
        const auto bake = Orvane::ZelKit::EnvironmentBake::create(source, {});
        while (bake->step()) {}
        return std::make_unique<Texture>(nullptr); // counts as a run
    });
    SideBySide::printResult("bake_light", "calls", 256, "ms_cpu", byCalls.milliseconds);
    SideBySide::printResult("bake_light", "kit", 256, "ms_cpu", byKit.milliseconds);
}

/// The values in the order of the peer: level by level, face by face.
Floats cubeValues(Texture &cube, int levels)
{
    Floats values;
    for (int level = 0; level < levels; ++level) {
        for (int face = 0; face < 6; ++face) {
            const Floats ofFace = readBack(cube, faceTarget(face), level).values;
            values.insert(values.end(), ofFace.begin(), ofFace.end());
        }
    }
    return values;
}

/// The number of half floats between 0 and a value that is a half float.
int halfFloatStep(float value)
{
    const qfloat16 half(value);
    qint16 bits = 0;
    std::memcpy(&bits, &half, sizeof(bits));
    return bits >= 0 ? bits : -(bits & 0x7FFF);
}

/// Reads as many floats from the file as there are values, and prints how they differ.
void compare(std::istream &peer, const char *what, const Floats &values)
{
    Floats theirs(values.size());
    if (!peer.read(reinterpret_cast<char *>(theirs.data()), std::streamsize(theirs.size() * sizeof(float)))) {
        std::printf("%s: the peer's values end early\n", what);
        return;
    }
    std::vector<size_t> countBySteps(3);
    int worst = 0;
    for (size_t i = 0; i < values.size(); ++i) {
        const int steps = std::abs(halfFloatStep(values[i]) - halfFloatStep(theirs[i]));
        worst = std::max(worst, steps);
        ++countBySteps[size_t(std::min(steps, 2))];
    }
    std::printf(
        "%s: of %zu values %zu are the peer's, %zu one half-float step off, %zu more; at most %d steps\n",
        what, values.size(), countBySteps[0], countBySteps[1], countBySteps[2], worst);
}

} // namespace

int main(int argc, char **argv)
{
    const SideBySide::Arguments arguments(argc, argv);
    const int size = std::max(1, arguments.integer("-size", 64));
    const int brdf = std::max(1, arguments.integer("-brdf", 128));
    const int runs = std::max(1, arguments.integer("-runs", 3));
    const auto samples = unsigned(std::max(1, arguments.integer("-samples", 1024)));
    const QString image = QString::fromStdString(arguments.text("-image", ""));
    const std::unique_ptr<OffscreenStage> stage = OffscreenStage::create(64, 64);
    if (stage == nullptr) {
        return 1;
    }
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    glEnable(GL_TEXTURE_CUBE_MAP_SEAMLESS);

    TexturePointer source;
    if (image.isEmpty()) {
        source = patternCube(arguments.integer("-src", 256));
    }
    Bake cube(runs, [&]() -> TexturePointer {
        if (!image.isEmpty()) {
            TexturePointer picture = load(image);
            source = picture != nullptr ? cubeOfLatLong(std::move(picture)) : nullptr;
        }
        if (source == nullptr) {
            return nullptr;
        }
        return TexturePointer(
            CreatePrefilteredCubeEnvMap(source.get(), size, samples, SHADING_PHYSICALLY_BASED, RGBA16F));
    });
    if (source != nullptr) {
        bakeLight(*source, runs);
    }
    source.reset();
    Bake table(runs, [&] {
        return TexturePointer(
            CreatePreintegratedBRDFTable(brdf, brdf, kPeersLevels, SHADING_PHYSICALLY_BASED, RGBA16F));
    });
    if (cube.result == nullptr || table.result == nullptr) {
        std::fprintf(stderr, "the bake failed\n");
        return 1;
    }
    SideBySide::printResult("bake_cube", image.isEmpty() ? "prefilter" : "picture", size, "ms_cpu",
                            cube.milliseconds);
    SideBySide::printResult("bake_brdf", "table", brdf, "ms_cpu", table.milliseconds);

    std::ifstream peer(arguments.text("-compare", ""), std::ios::binary);
    if (peer) {
        const Floats cubeFloats = cubeValues(*cube.result, MaxLODLevel(size, size));
        const Floats tableFloats = readBack(*table.result, GL_TEXTURE_2D, 0).values;
        compare(peer, "cube, beside samples per pixel", cubeFloats);
        compare(peer, "cube, beside samples in a table", cubeFloats);
        compare(peer, "BRDF table, beside samples per pixel", tableFloats);
        compare(peer, "BRDF table, beside samples in a table", tableFloats);
    }
    cube.result.reset();
    table.result.reset();
    OpenGLDeviceContext::resetContext();
    return 0;
}
