#pragma once

#include <ZelGL/ZelGL.h>

#include <memory>

namespace Orvane { namespace ZelKit {

constexpr int kCubeFaces = 6;

/// Textures of half floats with storage, filters and levels as shaders sample them.
std::unique_ptr<Zel::Texture> makeLightCube(int size, int levels);
std::unique_ptr<Zel::Texture> makeLightTable(int size);

}} // namespace Orvane::ZelKit
