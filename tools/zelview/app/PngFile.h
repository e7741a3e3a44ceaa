#pragma once

#include "frame/Outcome.h"

class QImage;

namespace zelview {

/// Whether a picture could be written there, asked before the work is done: a folder that takes files, and no device or
/// folder in the file's place.
Failure checkPngTarget(const QString &path);

/// Writes the whole picture or nothing: into a temporary file beside it, which then takes its place.
Failure writePng(const QImage &image, const QString &path);

} // namespace zelview
