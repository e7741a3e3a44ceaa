#include "Pictures.h"

#include <QtGui/QPainter>

#include <cmath>

using Orvane::ZelKit::LightImage;

namespace {

/// An interior with a window on each side of the eye, a warm floor and a row of lamps.
QVector3D radiance(const QVector3D &direction)
{
    const float up = direction.y();
    QVector3D light = up < 0.0f ? QVector3D(0.30f, 0.24f, 0.19f) : QVector3D(0.34f, 0.37f, 0.42f);
    light *= 0.55f + 0.45f * std::abs(up);
    if (std::abs(up - 0.25f) < 0.35f && std::abs(direction.z() - 0.35f) < 0.28f) {
        light = direction.x() < 0.0f ? QVector3D(2.6f, 3.2f, 4.4f) : QVector3D(4.6f, 3.5f, 2.4f);
    }
    const float around = std::atan2(direction.x(), direction.z());
    if (std::abs(up - 0.78f) < 0.06f && std::abs(std::sin(4.0f * around)) < 0.3f) {
        light = QVector3D(9.0f, 8.4f, 7.2f);
    }
    return light;
}

} // namespace

LightImage paintInterior(const QSize &size)
{
    LightImage image{size, {}};
    for (int y = 0; y < size.height(); ++y) {
        const float elevation = (0.5f - (float(y) + 0.5f) / float(size.height())) * float(M_PI);
        for (int x = 0; x < size.width(); ++x) {
            const float around = (float(x) + 0.5f) / float(size.width()) * 2.0f * float(M_PI);
            image.texels.push_back(radiance({std::cos(around) * std::cos(elevation), std::sin(elevation),
                                             std::sin(around) * std::cos(elevation)}));
        }
    }
    return image;
}

QImage paintFlower(int petals)
{
    QImage image(256, 256, QImage::Format_ARGB32);
    image.fill(QColor::fromHsv(petals * 47 % 360, 60, 235));
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(128, 128);
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < petals; ++i) {
        painter.setBrush(QColor::fromHsv((petals * 47 + 150 + 12 * i) % 360, 170, 190));
        painter.drawEllipse(QRectF(-22, -112, 44, 100));
        painter.rotate(360.0 / petals);
    }
    painter.setBrush(QColor(250, 240, 200));
    painter.drawEllipse(QRectF(-26, -26, 52, 52));
    painter.end();
    return image.mirrored(); // GL's first row is the lowest
}

QVector4D components(const QColor &color, float alpha)
{
    return {float(color.redF()), float(color.greenF()), float(color.blueF()), alpha};
}
