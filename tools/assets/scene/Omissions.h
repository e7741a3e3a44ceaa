#pragma once

#include <QtCore/QString>

struct aiScene;

namespace zeltools {

struct GltfHead;
struct Scene;

/// Lists in one line what a model contains and zelview does not show, such as animations, skins, lines and clear coat.
/// Empty if there is nothing to list.
QString describeOmissions(const aiScene &source, const GltfHead &gltf);

/// Adds a remark if materials are fully transparent. If all are, makes them opaque: some exporters confuse opacity with
/// transparency.
void showTransparentScene(Scene &scene);

} // namespace zeltools
