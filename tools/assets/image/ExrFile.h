#pragma once

#include "file/Outcome.h"

#include <ZelKit/EnvironmentImage.h>

#include <QtCore/QString>

namespace zeltools {

using Orvane::ZelKit::LightImage;

/// Whether a file starts with the magic number of OpenEXR. Returns false if there is no such file.
bool isExrFile(const QString &path);

/// Reads the colours of a single-part OpenEXR file: RGB, or luminance with or without chroma; in scan lines or tiles.
///
/// Errors: ExitCode::eInput for a file that OpenEXR rejects.
Expected<LightImage> readExr(const QString &path);

} // namespace zeltools
