#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>

namespace Orvane { namespace Zel {
class Texture;
}} // namespace Orvane::Zel

namespace zeltools {

/// Whether a file is an image that the library reads: by its first bytes, or because QImage recognises it. Returns false if
/// there is no such file.
///
/// Context: none needed, any thread.
bool isImageFile(const QString &path);

/// The metadata keys of an image file. Readers may also return keys that are not text; these are left out.
QStringList metadataKeys(const QString &path);

/// Loads an image with its rows in the order of the file. Null if that fails, with the reason as the end of a sentence.
///
/// Context: needs a current one.
std::unique_ptr<Orvane::Zel::Texture> loadImage(const QString &path, QString &reason);

} // namespace zeltools
