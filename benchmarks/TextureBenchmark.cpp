// The library's own work in binding textures and in handing out scratch textures: all GL calls go to functions that do
// nothing.
//
// Held constant: 32 texture units; eight textures are bound already, as in a draw; the pool keeps textures of 16 kinds.
// Each row stands beside the same GL calls issued by hand through the same table.

#include "support/Measure.h"
#include "support/SilentGL.h"

#include <ZelGL/ZelGL.h>

#include <memory>
#include <vector>

using namespace Orvane::Zel;

namespace {

constexpr int kBoundCount = 8;
constexpr int kKindCount = 16;

/// Textures that are bound for the time of a row.
struct BoundTextures
{
    BoundTextures()
    {
        for (int i = 0; i < kBoundCount; ++i) {
            textures.push_back(std::make_unique<Texture>(GL_TEXTURE_2D, GL_RGBA8, 64, 64, 1, nullptr));
            textures.back()->bind();
        }
    }

    ~BoundTextures()
    {
        for (const auto &texture : textures) {
            texture->unbind();
        }
    }

    std::vector<std::unique_ptr<Texture>> textures;
};

/// A pool with free textures of each kind, a kind being a width.
struct FilledPool
{
    explicit FilledPool(int texturesPerKind)
    {
        for (int width = 1; width <= kKindCount; ++width) {
            std::vector<Texture *> textures;
            for (int i = 0; i < texturesPerKind; ++i) {
                textures.push_back(pool.take(RGBA16F, width, 64, 1, 1));
            }
            for (Texture *texture : textures) {
                pool.releaseRef(texture, 1);
            }
        }
    }

    ~FilledPool() { pool.deleteUnused(); }

    TexturePool pool;
};

void textureBindNested(benchmark::State &state)
{
    const BoundTextures bound;
    Texture &texture = *bound.textures.front();
    measure(state, 1, Allocations::eNone, [&] {
        texture.bind();
        texture.unbind();
    });
}
BENCHMARK(textureBindNested);

void textureBindNestedByHand(benchmark::State &state)
{
    measure(state, 1, Allocations::eNone, [] {
        glActiveTexture(GL_TEXTURE31);
        glActiveTexture(GL_TEXTURE31);
    });
}
BENCHMARK(textureBindNestedByHand);

void textureUnit(benchmark::State &state)
{
    const BoundTextures bound;
    const Texture &texture = *bound.textures.front();
    measure(state, 1, Allocations::eNone, [&] { benchmark::DoNotOptimize(texture.unit()); });
}
BENCHMARK(textureUnit);

// The outermost bind takes a unit, and so an entry in each table of the context.
void textureBindOutermost(benchmark::State &state)
{
    const BoundTextures bound;
    Texture texture(GL_TEXTURE_2D, GL_RGBA8, 64, 64, 1, nullptr);
    measure(state, 1, Allocations::eCounted, [&] {
        texture.bind();
        texture.unbind();
    });
}
BENCHMARK(textureBindOutermost);

void textureBindOutermostByHand(benchmark::State &state)
{
    measure(state, 1, Allocations::eNone, [] {
        glActiveTexture(GL_TEXTURE23);
        glBindTexture(GL_TEXTURE_2D, 1);
        glActiveTexture(GL_TEXTURE23);
        glBindTexture(GL_TEXTURE_2D, 0);
    });
}
BENCHMARK(textureBindOutermostByHand);

// Takes one of two free textures of a kind, and gives it back.
void poolTakeRecycled(benchmark::State &state)
{
    FilledPool filled(2);
    measure(state, 1, Allocations::eNone,
            [&] { filled.pool.releaseRef(filled.pool.take(RGBA16F, kKindCount / 2, 64, 1, 1), 1); });
}
BENCHMARK(poolTakeRecycled);

// What take() asks of GL.
void poolTakeRecycledByHand(benchmark::State &state)
{
    measure(state, 1, Allocations::eNone, [] {
        GLint samples = 0;
        glGetIntegerv(GL_MAX_SAMPLES, &samples);
        benchmark::DoNotOptimize(samples);
    });
}
BENCHMARK(poolTakeRecycledByHand);

// Takes every free texture, so that none of its kind remains, and then gives all back, which makes the lists anew.
void poolTakeAllThenReleaseAll(benchmark::State &state)
{
    FilledPool filled(1);
    Texture *taken[kKindCount];
    measure(state, kKindCount, Allocations::eCounted, [&] {
        for (int i = 0; i < kKindCount; ++i) {
            taken[i] = filled.pool.take(RGBA16F, i + 1, 64, 1, 1);
        }
        for (Texture *texture : taken) {
            filled.pool.releaseRef(texture, 1);
        }
    });
}
BENCHMARK(poolTakeAllThenReleaseAll);

} // namespace

int main(int argc, char **argv)
{
    installSilentGL();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
