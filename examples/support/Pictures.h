#pragma once

#include <QtGui/QColor>
#include <QtGui/QImage>
#include <QtGui/QVector4D>

#include <memory>

namespace Orvane { namespace Zel {
class Texture;
}} // namespace Orvane::Zel

/// A latlong image with a mip chain and values above 1: a place with a window on each side of the eye, a warm floor and a row of
/// lamps.
std::unique_ptr<Orvane::Zel::Texture> paintInterior(int width, int height);

/// A square with a flower, lowest row first.
QImage paintFlower(int petals);

/// Red, green and blue from 0 to 1, and \a alpha.
QVector4D components(const QColor &color, float alpha = 1.0f);
