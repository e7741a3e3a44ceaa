#pragma once

#include "file/Outcome.h"
#include "frame/Exhibit.h"

#include <memory>

namespace zeltools {

/// Loads what the options name: an image, or else a model or a plane of UDIM tiles.
///
/// Errors: those of ImageExhibit::load() and ModelExhibit::load().
Expected<std::unique_ptr<Exhibit>> loadExhibit(const Options &options);

} // namespace zeltools
