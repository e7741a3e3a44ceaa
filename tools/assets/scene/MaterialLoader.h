#pragma once

class QString;
struct aiScene;

namespace zeltools {

struct Scene;

/// Converts the materials of a model that assimp has read, in their order; the scene gets at least one. Finds the images
/// that they refer to: embedded ones, or files relative to the model at \a path, also with backslashes or with characters
/// escaped as in URLs ("%20") in their names.
///
/// Errors: a missing image becomes a remark of the scene.
void loadMaterials(const aiScene &source, const QString &path, Scene &scene);

} // namespace zeltools
