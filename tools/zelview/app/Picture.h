#pragma once

#include "frame/Outcome.h"

#include <QtGui/QImage>

namespace zelview {

class Exhibit;
struct Options;

/// A finished picture, and what it took.
struct Picture
{
    QImage image;
    QString driver;
    QStringList frame; ///< the exhibit's words
    int samples = 0;
    qint64 buildTime = 0; ///< milliseconds: context, programs, uploads
    qint64 drawTime = 0;  ///< milliseconds: the frame, and its way back from the driver
};

/// Draws an exhibit without a window.
Expected<Picture> makePicture(Exhibit &exhibit, const Options &options);

} // namespace zelview
