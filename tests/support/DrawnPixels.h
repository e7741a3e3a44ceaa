#pragma once

#include "Pixels.h"

#include <vector>

namespace Orvane { namespace Zel {
class ShaderProgram;
}} // namespace Orvane::Zel

/// Draws the full-screen quad with the bound program into a cleared picture of this size, without a depth test. Returns one picture
/// for each colour output; colours may have any range.
std::vector<Pixels> drawnPixels(Orvane::Zel::ShaderProgram &program, int width, int height, int outputs);

inline Pixels drawnPixels(Orvane::Zel::ShaderProgram &program, int width, int height)
{
    return drawnPixels(program, width, height, 1).front();
}
