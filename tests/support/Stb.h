#pragma once

#include <QtCore/QByteArray>

#include <vector>

/// Whether the decoder that others wrote was there when the tests were built: stb_image.h, of the package
/// libstb-dev.
bool hasStb();

/// A Radiance picture as stb_image decodes it: three floats a texel, the lowest row first.
std::vector<float> hdrByStb(const QByteArray &file);
