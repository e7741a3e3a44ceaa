#pragma once

#include "frame/View.h"
#include "scene/Scene.h"

namespace zelview {

/// So many simple bodies of 32 materials in a cube of space, each with a transform of its own and a drawable of its own.
/// The same number gives the same scene.
Scene makeStressScene(int bodies);

/// A round trip through and around the scene: \a time from 0 to 1.
View stressView(const Scene &scene, float time, float aspect);

} // namespace zelview
