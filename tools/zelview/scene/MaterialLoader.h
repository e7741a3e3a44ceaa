#pragma once

class QString;
struct aiScene;

namespace zelview {

struct Scene;

/// Turns the materials of a model that assimp has read into the scene's, in their order and at least one, and finds the
/// images that they name: embedded, or files beside the model at \a path, backslashes in their names accepted. An image
/// that is not there is told among the scene's remarks.
void loadMaterials(const aiScene &source, const QString &path, Scene &scene);

} // namespace zelview
