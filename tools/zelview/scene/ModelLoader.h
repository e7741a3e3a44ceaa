#pragma once

#include "frame/Outcome.h"
#include "scene/Scene.h"

namespace zelview {

/// Reads a model file with assimp: faces cut into triangles, points and lines left out, missing
/// normals generated, and the texture coordinates of projected images.
///
/// Errors: ExitCode::eFile when there is no such file or it cannot be read, ExitCode::eInput when it is no model, or one
///         without triangles, or too large, or with coordinates that are no finite numbers.
Expected<Scene> loadModel(const QString &path);

} // namespace zelview
