#pragma once

#include "frame/Outcome.h"

#include <QtCore/QSize>
#include <QtCore/QString>
#include <QtGui/QVector3D>

#include <vector>

namespace zelview {

/// The colours of an image, row by row from the top; linear.
struct LightImage
{
    QSize size;
    std::vector<QVector3D> texels;
};

/// Whether a file begins as OpenEXR files do; false for what is not there.
bool isExrFile(const QString &path);

/// Reads the colours of an OpenEXR file of one part: RGB, luminance with or without chroma, in scan lines or tiles.
///
/// Errors: ExitCode::eInput for a file that OpenEXR refuses.
Expected<LightImage> readExr(const QString &path);

} // namespace zelview
