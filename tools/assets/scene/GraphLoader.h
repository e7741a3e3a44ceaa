#pragma once

struct aiScene;

namespace zeltools {

struct Scene;

/// Copies the node hierarchy, cameras and punctual lights of a file into the scene.
///
/// Hides nodes by glTF's extension KHR_node_visibility; other formats have no hidden nodes.
void loadGraph(const aiScene &source, Scene &scene);

} // namespace zeltools
