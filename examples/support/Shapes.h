#pragma once

#include <memory>

namespace Orvane { namespace Zel {
class DrawBuffers;
}} // namespace Orvane::Zel

/// \file
/// Simple bodies as draw units with the attributes "va_Vertex" and "va_Normal", and \a commands equal commands; command i
/// has the draw ID i.

/// A cube from -1 to 1 on each axis.
std::unique_ptr<Orvane::Zel::DrawBuffers> makeCube(int commands);

/// A sphere of radius 1.
std::unique_ptr<Orvane::Zel::DrawBuffers> makeSphere(int commands);
