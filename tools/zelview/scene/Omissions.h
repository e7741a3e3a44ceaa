#pragma once

#include <QtCore/QString>

struct aiScene;

namespace zelview {

struct GltfHead;
struct Scene;

/// What a model that assimp has read holds and zelview does not show: animations, skins, lines, clear coat and the
/// like, in one line; empty if there is nothing.
QString describeOmissions(const aiScene &source, const GltfHead &gltf);

/// Adds a remark if materials are fully transparent. If all are, which exporters that confuse opacity with transparency
/// write, they become opaque.
void showTransparentScene(Scene &scene);

} // namespace zelview
