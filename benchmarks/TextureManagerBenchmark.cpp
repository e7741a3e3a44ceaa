// The library's own work for texture tokens: all GL calls go to functions that do nothing.
//
// Held constant: textures of one format, 8 slots of the array manager, a list of 8 tokens per draw. The argument of a row
// is the number of live tokens; the time for one token must not depend on it, except for cache misses.

#include "support/Measure.h"
#include "support/SilentGL.h"

#include <ZelGL/ZelGL.h>

#include <memory>
#include <vector>

using namespace Orvane::Zel;

namespace {

constexpr int kTokensOfADraw = 8;

void keepQuiet(QtMsgType, const QMessageLogContext &, const QString &) {}

/// A manager with tokens of read-only textures; their number is the argument of the row.
template <typename Manager> struct Filled
{
    explicit Filled(const benchmark::State &state)
    {
        const auto count = int(state.range(0));
        for (int i = 0; i < count; ++i) {
            auto *texture = new Texture(GL_TEXTURE_2D, GL_RGBA8, 4, 4, 1, nullptr);
            texture->setReadOnly();
            textures.push_back(texture);
            tokens.append(manager.tokenForTexture(texture));
        }
        const int stride = std::max(count / kTokensOfADraw, 1);
        for (int i = 0; i < kTokensOfADraw; ++i) {
            ofADraw.append(tokens.at(i * stride));
        }
    }

    Manager manager;
    std::vector<Texture *> textures; ///< owned by the manager
    QVector<TextureToken> tokens;
    QVector<TextureToken> ofADraw; ///< spread over the range
};

/// The same with all textures in slots.
struct Placed : Filled<Array2DTextureManager>
{
    explicit Placed(const benchmark::State &state)
        : Filled(state)
    {
        manager.bind(tokens);
        manager.updateSlots();
    }
};

void withTokensAlive(benchmark::internal::Benchmark *row)
{
    row->Arg(1000)->Arg(100000);
}

void arrayBindAll(benchmark::State &state)
{
    Placed placed(state);
    measure(state, state.range(0), Allocations::eNone, [&] { placed.manager.bind(placed.tokens); });
}
BENCHMARK(arrayBindAll)->Apply(withTokensAlive);

// The minimal work: reads the record of every token.
void arrayBindAllByHand(benchmark::State &state)
{
    const Filled<SamplerTextureManager> filled(state);
    const std::vector<SlotLayerData> records(size_t(state.range(0)) + 1, SlotLayerData(0, 0, 0));
    measure(state, state.range(0), Allocations::eNone, [&] {
        for (const TextureToken &token : filled.tokens) {
            benchmark::DoNotOptimize(records[size_t(token.token)].isValid());
        }
    });
}
BENCHMARK(arrayBindAllByHand)->Apply(withTokensAlive);

void arrayBindOfADraw(benchmark::State &state)
{
    Placed placed(state);
    measure(state, kTokensOfADraw, Allocations::eNone, [&] { placed.manager.bind(placed.ofADraw); });
}
BENCHMARK(arrayBindOfADraw)->Apply(withTokensAlive);

void arrayUpdateNothing(benchmark::State &state)
{
    Placed placed(state);
    measure(state, 1, Allocations::eNone, [&] { placed.manager.updateSlots(); });
}
BENCHMARK(arrayUpdateNothing)->Apply(withTokensAlive);

// All textures are placed: acquires and releases the texture units of the slots and of the slot map.
void arrayBindProgram(benchmark::State &state)
{
    Placed placed(state);
    const std::unique_ptr<ShaderProgram> program = makeSilentProgram();
    measure(state, 1, Allocations::eCounted, [&] {
        placed.manager.bind(program.get());
        placed.manager.unbind(program.get());
    });
}
BENCHMARK(arrayBindProgram)->Apply(withTokensAlive);

// Revokes a texture from its layer, places it again and copies it there.
void arrayPlaceAndCopy(benchmark::State &state)
{
    Placed placed(state);
    const QVector<TextureToken> one = placed.ofADraw.mid(3, 1);
    measure(state, 1, Allocations::eCounted, [&] {
        placed.manager.textureTokenRevoked(one.first());
        placed.manager.bind(one);
        placed.manager.updateSlots();
    });
}
BENCHMARK(arrayPlaceAndCopy)->Apply(withTokensAlive);

// The first placement of all textures: each gets a token, a layer and a copy.
void arrayFirstPlacement(benchmark::State &state)
{
    const auto count = int(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        auto manager = std::make_unique<Array2DTextureManager>();
        std::vector<Texture *> textures;
        for (int i = 0; i < count; ++i) {
            textures.push_back(new Texture(GL_TEXTURE_2D, GL_RGBA8, 4, 4, 1, nullptr));
        }
        state.ResumeTiming();
        QVector<TextureToken> tokens;
        for (Texture *texture : textures) {
            tokens.append(manager->tokenForTexture(texture));
        }
        manager->bind(tokens);
        manager->updateSlots();
        state.PauseTiming();
        manager.reset();
        state.ResumeTiming();
    }
    using benchmark::Counter;
    state.counters["per_item"] =
        Counter(double(count), Counter::kIsIterationInvariantRate | Counter::kInvert);
}
BENCHMARK(arrayFirstPlacement)->Apply(withTokensAlive);

// Acquires and releases texture units, and converts the vectors to the lists that the manager takes.
void samplerBindOfADraw(benchmark::State &state)
{
    Filled<SamplerTextureManager> filled(state);
    measure(state, kTokensOfADraw, Allocations::eCounted, [&] {
        filled.manager.bind(filled.ofADraw);
        filled.manager.unbind(filled.ofADraw);
    });
}
BENCHMARK(samplerBindOfADraw)->Apply(withTokensAlive);

// The handles are already resident.
void bindlessBindOfADraw(benchmark::State &state)
{
    Filled<BindlessTextureManager> filled(state);
    const QList<TextureToken> tokens = filled.ofADraw.toList();
    measure(state, kTokensOfADraw, Allocations::eNone, [&] { filled.manager.bind(tokens); });
}
BENCHMARK(bindlessBindOfADraw)->Apply(withTokensAlive);

void bindlessBindOfADrawByHand(benchmark::State &state)
{
    const Filled<BindlessTextureManager> filled(state);
    measure(state, kTokensOfADraw, Allocations::eNone, [&] {
        for (const TextureToken &token : filled.ofADraw) {
            benchmark::DoNotOptimize(silentIsTextureHandleResident(token.token));
        }
    });
}
BENCHMARK(bindlessBindOfADrawByHand)->Apply(withTokensAlive);

// Deletes and reserves a token in the middle, with as many free entries as tokens.
void tokenDeleteAndReserve(benchmark::State &state)
{
    SamplerTextureManager manager;
    const auto alive = quint64(state.range(0));
    manager.reserveTokenBlock(int(2 * alive));
    for (quint64 i = 1; i < alive; ++i) {
        manager.deleteToken(2 * i);
    }
    measure(state, 1, Allocations::eCounted, [&] { manager.deleteToken(manager.reserveToken()); });
}
BENCHMARK(tokenDeleteAndReserve)->Apply(withTokensAlive);

// The same with a linear search of a vector.
void tokenDeleteAndReserveNaive(benchmark::State &state)
{
    QVector<TextureToken> freeTokens;
    for (quint64 i = 1; i < quint64(state.range(0)); ++i) {
        freeTokens.append(2 * i);
    }
    measure(state, 1, Allocations::eCounted, [&] {
        const TextureToken token = freeTokens.takeFirst();
        TextureToken::insert(freeTokens, token);
        benchmark::DoNotOptimize(TextureToken::find(freeTokens, nullTextureToken));
    });
}
BENCHMARK(tokenDeleteAndReserveNaive)->Apply(withTokensAlive);

} // namespace

int main(int argc, char **argv)
{
    qInstallMessageHandler(keepQuiet);
    installSilentGL();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
