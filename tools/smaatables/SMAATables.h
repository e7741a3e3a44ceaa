#pragma once

#include <cstdint>
#include <vector>

/// The two tables that a host of SMAA.glslh binds, computed. Rows in the order of upload, the first at texture
/// coordinate 0; 8 bits a channel.
namespace SMAATables {

constexpr int kAreaWidth = 160;
constexpr int kAreaHeight = 560;
constexpr int kSearchWidth = 64;
constexpr int kSearchHeight = 16;

/// Two channels: the areas that a line cuts off the pixel after its edge and off the one before it. The left half is for
/// lines along rows and columns, the right half for diagonals; seven parts from top to bottom are for samples off the
/// pixel's centre, the first for none. For GL_RG8 with linear filtering.
std::vector<std::uint8_t> area();

/// One channel: how many of the last two pixels of a search belong to the line, times 127; the left half for searches
/// backward, the right half for those forward. For GL_R8 with the nearest texel.
std::vector<std::uint8_t> search();

} // namespace SMAATables
