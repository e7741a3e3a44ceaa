// A compressed image from bytes in memory to a texture, on the driver of the display.
//
// Held constant: 1020x1020 texels in blocks of 6x6, each block of a single colour. The row by hand creates, uploads and
// deletes a texture with the filters of the reader. Messages are discarded.

#include "sidebyside/OffscreenStage.h"

#include <ZelGL/GLUtilities.h>
#include <ZelGL/Texture.h>
#include <ZelGL/TextureIO.h>

#include <benchmark/benchmark.h>

#include <array>
#include <memory>
#include <vector>

using namespace Orvane::Zel;

namespace {

constexpr int kSide = 1020;
constexpr int kBlockSide = 6;
constexpr int kBlocks = (kSide / kBlockSide) * (kSide / kBlockSide);
constexpr size_t kHeaderSize = 16;

/// An image whose blocks have a single colour each, and differ as much as possible.
std::vector<unsigned char> astcImage()
{
    std::vector<unsigned char> file = {0x13, 0xAB,        0xA1,       0x5C, kBlockSide,  kBlockSide,
                                       1,    kSide & 255, kSide >> 8, 0,    kSide & 255, kSide >> 8,
                                       0,    1,           0,          0};
    for (unsigned int block = 0; block < kBlocks; ++block) {
        const std::array<unsigned char, 8> solid = {0xFC, 0xFD, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
        file.insert(file.end(), solid.begin(), solid.end());
        for (const unsigned int channel : {block * 7919u, block * 104729u, block * 1299709u, 0xFFFFu}) {
            file.push_back(static_cast<unsigned char>(channel));
            file.push_back(static_cast<unsigned char>(channel >> 8));
        }
    }
    return file;
}

/// Creates one context for all rows. Returns false, with an error of the row, if there is none.
bool hasContext(benchmark::State &state)
{
    static const std::unique_ptr<OffscreenStage> stage = OffscreenStage::create(64, 64);
    if (stage == nullptr) {
        state.SkipWithError("there is no OpenGL context");
        return false;
    }
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    return true;
}

void astcLoad(benchmark::State &state)
{
    if (!hasContext(state)) {
        return;
    }
    std::vector<unsigned char> file = astcImage();
    for (auto _ : state) {
        const std::unique_ptr<Texture> texture(
            LoadTextureFromMemory(file.data(), file.size(), TextureFileInfo(), QStringLiteral("image")));
        glFinish();
        if (texture == nullptr) {
            state.SkipWithError("the image does not load");
        }
    }
}

void astcLoadByHand(benchmark::State &state)
{
    if (!hasContext(state)) {
        return;
    }
    const std::vector<unsigned char> file = astcImage();
    for (auto _ : state) {
        GLuint name = 0;
        glGenTextures(1, &name);
        glBindTexture(GL_TEXTURE_2D, name);
        glCompressedTexImage2D(GL_TEXTURE_2D, 0, GL_COMPRESSED_RGBA_ASTC_6x6_KHR, kSide, kSide, 0,
                               static_cast<GLsizei>(file.size() - kHeaderSize), file.data() + kHeaderSize);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        glFinish();
        glDeleteTextures(1, &name);
    }
    if (glGetError() != GL_NO_ERROR) {
        state.SkipWithError("the driver refuses the image");
    }
}

BENCHMARK(astcLoad)->Unit(benchmark::kMicrosecond);
BENCHMARK(astcLoadByHand)->Unit(benchmark::kMicrosecond);

} // namespace
