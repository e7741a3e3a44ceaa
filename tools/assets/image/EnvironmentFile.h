#pragma once

#include "file/Outcome.h"

#include <ZelKit/EnvironmentImage.h>

#include <optional>

namespace zeltools {

using Orvane::ZelKit::EnvironmentImage;
using EnvironmentLayout = EnvironmentImage::Layout;
constexpr int kEnvironmentLayouts = 3;

/// Reads OpenEXR files, KTX cube maps and all images that the library reads. Without a \a layout the aspect ratio decides.
///
/// Context: needs a current one, since the library's readers load into textures.
/// Errors:  ExitCode::eFile for a file that cannot be opened, ExitCode::eInput for one that is not an environment image.
Expected<EnvironmentImage> loadEnvironmentImage(const QString &path, std::optional<EnvironmentLayout> layout);

} // namespace zeltools
