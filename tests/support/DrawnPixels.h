#pragma once

#include "Pixels.h"

#include <vector>

namespace Orvane { namespace Zel {
class ShaderProgram;
}} // namespace Orvane::Zel

/// What the bound program, whose vertex stage takes the full-screen quad, draws over a picture of that size, without a
/// depth test; one for each of its colour outputs. Colours may be of any range.
std::vector<Pixels> drawnPixels(Orvane::Zel::ShaderProgram &program, int width, int height, int outputs);

inline Pixels drawnPixels(Orvane::Zel::ShaderProgram &program, int width, int height)
{
    return drawnPixels(program, width, height, 1).front();
}
