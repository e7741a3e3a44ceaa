#pragma once

#include "frame/Outcome.h"

#include <QtCore/QSize>
#include <QtCore/QString>
#include <QtGui/QVector3D>

#include <vector>

namespace zelview {

/// The linear colours of an image, row by row from the top.
struct LightImage
{
    QSize size;
    std::vector<QVector3D> texels;
};

/// Whether a file starts with the magic number of OpenEXR. Returns false if there is no such file.
bool isExrFile(const QString &path);

/// Reads the colours of a single-part OpenEXR file: RGB, or luminance with or without chroma; in scan lines or tiles.
///
/// Errors: ExitCode::eInput for a file that OpenEXR rejects.
Expected<LightImage> readExr(const QString &path);

} // namespace zelview
