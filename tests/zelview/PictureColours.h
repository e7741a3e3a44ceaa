#pragma once

#include <QtCore/QPointF>
#include <QtGui/QImage>

#include <algorithm>
#include <cstdlib>
#include <vector>

/// The greatest difference of any channel of any pixel; 256 if the sizes differ.
inline int difference(const QImage &a, const QImage &b)
{
    if (a.size() != b.size()) {
        return 256;
    }
    int greatest = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QColor p = a.pixelColor(x, y);
            const QColor q = b.pixelColor(x, y);
            greatest = std::max({greatest, std::abs(p.red() - q.red()), std::abs(p.green() - q.green()),
                                 std::abs(p.blue() - q.blue())});
        }
    }
    return greatest;
}

/// The dominant channel: 0 for red, 1 for green, 2 for blue, -1 for none.
inline int leadingChannel(const QColor &color)
{
    const int channels[3] = {color.red(), color.green(), color.blue()};
    const int lead = int(std::max_element(channels, channels + 3) - channels);
    for (int i = 0; i < 3; ++i) {
        if (i != lead && channels[lead] < channels[i] + 60) {
            return -1;
        }
    }
    return lead;
}

/// The dominant channels of the quarters of a picture: upper left, upper right, lower left, lower right.
inline std::vector<int> quarters(const QImage &image)
{
    std::vector<int> channels;
    for (const QPointF &place :
         {QPointF(0.3, 0.3), QPointF(0.7, 0.3), QPointF(0.3, 0.7), QPointF(0.7, 0.7)}) {
        channels.push_back(leadingChannel(
            image.pixelColor(int(place.x() * image.width()), int(place.y() * image.height()))));
    }
    return channels;
}
