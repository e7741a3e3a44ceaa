#pragma once

#include <ZelGL/TextureManager.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <set>
#include <vector>

/// One way from a token to a pixel: a texture manager and its settings. The rows of everything that must look alike
/// whichever the host chooses.
struct TextureStrategy
{
    enum Kind { eSampler, eArray, eBindless };

    /// The row's name, a word.
    const char *name;
    Kind kind;
    bool needsBindless;
    /// What it leaves to the context at its end, once it was bound to a program.
    size_t helperTextures;
    std::function<std::unique_ptr<Orvane::Zel::TextureManager>()> make;
};

/// All of them.
std::vector<TextureStrategy> textureStrategies();

/// Those of some kinds.
std::vector<TextureStrategy> textureStrategies(const std::set<TextureStrategy::Kind> &kinds);

inline void PrintTo(const TextureStrategy &strategy, std::ostream *out)
{
    *out << strategy.name;
}

inline std::string nameOfStrategy(const testing::TestParamInfo<TextureStrategy> &strategy)
{
    return strategy.param.name;
}

/// Skips the test where the driver lacks what the strategy needs, naming it.
#define ZEL_NEEDS_DRIVER_OF(strategy)                                                                        \
    if ((strategy).needsBindless && !hasGLExtension("GL_ARB_bindless_texture"))                              \
    GTEST_SKIP() << "Needs GL_ARB_bindless_texture"
