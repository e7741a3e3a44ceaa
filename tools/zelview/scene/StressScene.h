#pragma once

#include "frame/View.h"
#include "scene/Scene.h"

namespace zelview {

/// A cube of simple bodies with 32 materials, each with its own transform and drawable. The same number always gives the
/// same scene.
Scene makeStressScene(int bodies);

/// The view at a point of the closed flight through and around the scene. \a time: from 0 to 1.
View stressView(const Scene &scene, float time, float aspect);

} // namespace zelview
