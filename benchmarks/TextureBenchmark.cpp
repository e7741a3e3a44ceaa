// The library's own work when it binds textures and recycles scratch textures: all GL calls go to functions that do
// nothing.
//
// Held constant: 32 texture units; eight textures are already bound, as in a draw; the pool contains textures of 16 kinds.
// Each row is compared with the same GL calls by hand, through the same table.

#include "support/Measure.h"
#include "support/SilentGL.h"

#include <ZelGL/ZelGL.h>

#include <memory>
#include <vector>

using namespace Orvane::Zel;

namespace {

constexpr int kBoundCount = 8;
constexpr int kKindCount = 16;

/// Textures that are bound during a row.
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

/// A pool with free textures of each kind; the kinds differ in width.
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

// The outermost bind acquires a texture unit, and so changes each table of the context.
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

// Takes one of two free textures of a kind, and releases it.
void poolTakeRecycled(benchmark::State &state)
{
    FilledPool filled(2);
    measure(state, 1, Allocations::eNone,
            [&] { filled.pool.releaseRef(filled.pool.take(RGBA16F, kKindCount / 2, 64, 1, 1), 1); });
}
BENCHMARK(poolTakeRecycled);

// The GL calls of take().
void poolTakeRecycledByHand(benchmark::State &state)
{
    measure(state, 1, Allocations::eNone, [] {
        GLint samples = 0;
        glGetIntegerv(GL_MAX_SAMPLES, &samples);
        benchmark::DoNotOptimize(samples);
    });
}
BENCHMARK(poolTakeRecycledByHand);

// Takes all free textures of a kind and then releases them, which creates the lists again.
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
