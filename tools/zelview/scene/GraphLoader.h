#pragma once

struct aiScene;

namespace zelview {

struct Scene;

/// Puts a file's node hierarchy, cameras and punctual lights into the scene.
///
/// glTF's extension for the visibility of nodes is understood; other formats hide nothing.
void loadGraph(const aiScene &source, Scene &scene);

} // namespace zelview
