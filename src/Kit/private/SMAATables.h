#pragma once

#include <cstdint>
#include <vector>

/// Computes the two tables that a host of SMAA.glslh binds. Rows are in the order of upload, the first at texture
/// coordinate 0; 8 bits per channel.
namespace SMAATables {

constexpr int kAreaWidth = 160;
constexpr int kAreaHeight = 560;
constexpr int kSearchWidth = 64;
constexpr int kSearchHeight = 16;

/// Two channels: the areas by which a line overlaps the pixel after its edge and the pixel before it. The left half is for
/// lines along rows and columns, the right half for diagonals. The seven parts from top to bottom are for sample offsets
/// from the pixel centre; the first part has no offset. For GL_RG8 with linear filtering.
std::vector<std::uint8_t> area();

/// One channel: how many of the last two pixels of a search belong to the line, times 127. The left half is for backward
/// searches, the right half for forward searches. For GL_R8 with nearest filtering.
std::vector<std::uint8_t> search();

} // namespace SMAATables
