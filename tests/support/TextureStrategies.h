#pragma once

#include <ZelGL/TextureManager.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <set>
#include <vector>

/// A texture manager and its settings. The rows of tests whose picture must not depend on the manager.
struct TextureStrategy
{
    enum Kind { eSampler, eArray, eBindless };

    /// The name of the row, one word.
    const char *name;
    Kind kind;
    bool needsBindless;
    /// Number of textures that it leaves in the context when it is deleted, if it was bound to a program.
    size_t helperTextures;
    std::function<std::unique_ptr<Orvane::Zel::TextureManager>()> make;
};

/// All strategies.
std::vector<TextureStrategy> textureStrategies();

/// The strategies of some kinds.
std::vector<TextureStrategy> textureStrategies(const std::set<TextureStrategy::Kind> &kinds);

inline void PrintTo(const TextureStrategy &strategy, std::ostream *out)
{
    *out << strategy.name;
}

inline std::string nameOfStrategy(const testing::TestParamInfo<TextureStrategy> &strategy)
{
    return strategy.param.name;
}

/// Skips the test, with a message, if the driver lacks what the strategy needs.
#define ZEL_NEEDS_DRIVER_OF(strategy)                                                                        \
    if ((strategy).needsBindless && !hasGLExtension("GL_ARB_bindless_texture"))                              \
    GTEST_SKIP() << "Needs GL_ARB_bindless_texture"
