#pragma once

#include "image/ExrFile.h"
#include "scene/Scene.h"

namespace zeltools {

/// What a model consists of, and the remarks of its importer, as lines.
QStringList factsOf(const Scene &scene);

/// The properties of an OpenEXR image, as a line.
QString factsOf(const LightImage &image);

} // namespace zeltools
