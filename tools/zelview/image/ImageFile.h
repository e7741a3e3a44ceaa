#pragma once

#include <QtCore/QString>

namespace zelview {

/// Whether a file is an image that the library reads: by its first bytes, or because QImage recognises it. Returns false if
/// there is no such file.
///
/// Context: none needed, any thread.
bool isImageFile(const QString &path);

/// Whether the library loads the rows of an image file from bottom to top, as GL stores them, without flipping them. KTX
/// files state their direction in the metadata, by default top to bottom. ASTC files are top to bottom. All others are
/// flipped when they are read.
bool doRowsGoUp(const QString &path);

/// Why the library could not load an image, from the messages of the last Console::Collector.
QString reasonOfFailure(const QString &path);

} // namespace zelview
