#pragma once

#include "file/Outcome.h"

#include <QtGui/QImage>

namespace zeltools {

class Exhibit;
struct Options;

/// A finished picture, and what it cost.
struct Picture
{
    QImage image;
    QString driver;
    QStringList frame; ///< lines of the exhibit about it
    int samples = 0;
    qint64 buildTime = 0; ///< milliseconds: context, programs, uploads
    qint64 drawTime = 0;  ///< milliseconds: drawing and reading back
};

/// Draws an exhibit without a window.
Expected<Picture> makePicture(Exhibit &exhibit, const Options &options);

} // namespace zeltools
