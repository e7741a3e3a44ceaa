#pragma once

/// \file
/// Private to the library. Used by code that creates a texture and defines its storage with plain GL calls.

#include "../Texture.h"

#include <memory>
#include <utility>

namespace Orvane { namespace Zel {

/// Binds \a texture and returns it, or deletes it and returns null when no texture unit is free: GL calls on the target
/// would then change the texture that the host has bound there.
inline std::unique_ptr<Texture> boundOrNull(std::unique_ptr<Texture> texture)
{
    return texture->bind() ? std::move(texture) : nullptr;
}

/// Returns a new texture of \a target, bound, or null. Size and format are not recorded.
inline std::unique_ptr<Texture> newBoundTexture(unsigned int target)
{
    auto texture = std::make_unique<Texture>(nullptr);
    texture->setTarget(target);
    return boundOrNull(std::move(texture));
}

/// The same with size and format recorded, as the constructor of Texture records them; allocates no storage.
inline std::unique_ptr<Texture> newBoundTexture(unsigned int target, int internalFormat, int width,
                                                int height, int depth)
{
    return boundOrNull(std::make_unique<Texture>(target, internalFormat, width, height, depth, nullptr));
}

}} // namespace Orvane::Zel
