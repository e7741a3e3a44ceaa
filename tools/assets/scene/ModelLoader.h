#pragma once

#include "file/Outcome.h"
#include "scene/Scene.h"

namespace zeltools {

/// Reads a model file with assimp. Splits faces into triangles, leaves out points and lines, and generates missing normals
/// and the texture coordinates of projected images.
///
/// Errors: ExitCode::eFile if the file is missing or unreadable. ExitCode::eInput if it is not a model, has no triangles,
///         is too large, or has coordinates that are not finite.
Expected<Scene> loadModel(const QString &path);

} // namespace zeltools
