#pragma once

#include <QtCore/QByteArray>

#include <vector>

/// Whether the tests were built with an independent decoder: stb_image.h of the package libstb-dev.
bool hasStb();

/// A Radiance picture, decoded by stb_image: three floats per texel, lowest row first.
std::vector<float> hdrByStb(const QByteArray &file);
