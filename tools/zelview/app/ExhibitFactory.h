#pragma once

#include "frame/Exhibit.h"
#include "frame/Outcome.h"

#include <memory>

namespace zelview {

/// Loads what the options name: an image, or else a model, a plane of UDIM tiles or a stress scene.
///
/// Errors: those of ImageExhibit::load() and ModelExhibit::load().
Expected<std::unique_ptr<Exhibit>> loadExhibit(const Options &options);

} // namespace zelview
