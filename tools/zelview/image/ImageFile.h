#pragma once

#include <QtCore/QString>

namespace zelview {

/// Whether a file is an image that the library reads, by its first bytes, or by QImage's judgement.
/// Any thread, no context; false for what is not there.
bool isImageFile(const QString &path);

/// Whether the rows of an image file, as the library loads it untouched, run from the bottom up, as GL's do. KTX files
/// state it among their metadata and else run down, ASTC files run down, all others are turned when they are read.
bool doRowsGoUp(const QString &path);

/// Why the library could not load an image under the last Console::Collector.
QString reasonOfFailure(const QString &path);

} // namespace zelview
