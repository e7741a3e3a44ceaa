#include "TextureStrategies.h"

#include <ZelGL/Array2DTextureManager.h>
#include <ZelGL/BindlessTextureManager.h>
#include <ZelGL/SamplerTextureManager.h>

using namespace Orvane::Zel;

namespace {

template <typename Manager>
TextureStrategy strategy(
    const char *name, TextureStrategy::Kind kind, bool needsBindless, size_t helperTextures,
    void (*configure)(Manager &) = [](Manager &) {})
{
    return {name, kind, needsBindless, helperTextures, [configure] {
                auto manager = std::make_unique<Manager>();
                configure(*manager);
                return manager;
            }};
}

} // namespace

std::vector<TextureStrategy> textureStrategies()
{
    using Array = Array2DTextureManager;
    const auto array = TextureStrategy::eArray;
    return {
        strategy<SamplerTextureManager>("Sampler", TextureStrategy::eSampler, false, 2),
        strategy<Array>("ArrayMapAsTexture", array, false, 1),
        strategy<Array>("ArrayMapAsUniforms", array, false, 0,
                        [](Array &manager) {
                            manager.setUseSlotMapTexture(false);
                            manager.setUseSlotMapUniforms(true);
                        }),
        strategy<Array>("ArrayMapAsBoth", array, false, 1,
                        [](Array &manager) { manager.setUseSlotMapUniforms(true); }),
        strategy<Array>("ArrayExplicitAccess", array, false, 1,
                        [](Array &manager) { manager.setUseExplicitlyArrayAccessInGLSL(true); }),
        strategy<Array>("ArrayBindless", array, true, 1,
                        [](Array &manager) { manager.setBindMode(Array::BindModeBindless); }),
        strategy<BindlessTextureManager>("Bindless", TextureStrategy::eBindless, true, 2),
    };
}

std::vector<TextureStrategy> textureStrategies(const std::set<TextureStrategy::Kind> &kinds)
{
    std::vector<TextureStrategy> some;
    for (const TextureStrategy &strategy : textureStrategies()) {
        if (kinds.count(strategy.kind) != 0) {
            some.push_back(strategy);
        }
    }
    return some;
}
