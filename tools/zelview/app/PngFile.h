#pragma once

#include "file/Outcome.h"

class QImage;

namespace zeltools {

/// Checks before the work starts that a picture can be written there: the folder is writable, and the path names no
/// device and no folder.
Failure checkPngTarget(const QString &path);

/// Writes the whole picture or nothing: into a temporary file in the same folder, which then replaces the old one.
Failure writePng(const QImage &image, const QString &path);

} // namespace zeltools
