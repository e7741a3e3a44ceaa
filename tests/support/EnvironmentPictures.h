#pragma once

#include <ZelKit/EnvironmentImage.h>

#include <QtGui/QColor>
#include <QtGui/QImage>

#include <array>
#include <cmath>

using Orvane::ZelKit::LightImage;

inline const QVector3D kX(1, 0, 0);
inline const QVector3D kY(0, 1, 0);
inline const QVector3D kZ(0, 0, 1);

/// The octant of a direction as a colour: red if x is positive, green if y is, blue if z is.
inline QVector3D labelOf(const QVector3D &direction)
{
    const auto channel = [](float coordinate) { return coordinate > 0.0f ? 0.6f : 0.1f; };
    return {channel(direction.x()), channel(direction.y()), channel(direction.z())};
}

/// An unfolded cube; \a cells: that of each face, in GL's order. Of tall crosses the last one is upside down.
inline LightImage unfolded(const QSize &cells, const std::array<QPoint, 6> &places)
{
    constexpr int kSide = 16;
    // The centre of each face, and the directions of its columns and rows.
    const QVector3D faces[][3] = {{kX, -kZ, -kY}, {-kX, kZ, -kY}, {kY, kX, kZ},
                                  {-kY, kX, -kZ}, {kZ, kX, -kY},  {-kZ, -kX, -kY}};
    LightImage image{cells * kSide, {}};
    image.texels.resize(size_t(image.size.width() * image.size.height()));
    for (int i = 0; i < 6 * kSide * kSide; ++i) {
        const size_t face = size_t(i / kSide / kSide);
        const QPoint texel(i % kSide, i / kSide % kSide);
        const QPoint place = places[face] * kSide + texel;
        const float sign = face == 5 && cells.height() == 4 ? -1.0f : 1.0f;
        const auto offset = [sign](int at) { return sign * ((float(at) + 0.5f) / (kSide / 2) - 1.0f); };
        image.texels[size_t(place.y() * image.size.width() + place.x())] =
            labelOf(faces[face][0] + offset(texel.x()) * faces[face][1] + offset(texel.y()) * faces[face][2]);
    }
    return image;
}

inline const LightImage kWideCross = unfolded({4, 3}, {{{2, 1}, {0, 1}, {1, 0}, {1, 2}, {1, 1}, {3, 1}}});
inline const LightImage kTallCross = unfolded({3, 4}, {{{2, 1}, {0, 1}, {1, 0}, {1, 2}, {1, 1}, {1, 3}}});
inline const LightImage kStrip = unfolded({6, 1}, {{{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 0}}});

/// The sRGB colour of linear light.
inline QColor screenColor(const QVector3D &light)
{
    const auto encoded = [](float x) {
        return int(std::lround(255.0 * (x <= 0.0031308f ? 12.92 * x : 1.055 * std::pow(x, 1 / 2.4) - 0.055)));
    };
    return {encoded(light.x()), encoded(light.y()), encoded(light.z())};
}

inline QImage screenImage(const LightImage &light)
{
    QImage image(light.size, QImage::Format_RGB888);
    for (int i = 0; i < int(light.texels.size()); ++i) {
        image.setPixelColor(i % image.width(), i / image.width(), screenColor(light.texels[size_t(i)]));
    }
    return image;
}
