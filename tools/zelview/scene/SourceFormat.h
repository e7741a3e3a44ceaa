#pragma once

struct aiScene;

namespace zelview {

// What assimp's scenes mean differs by the format that they were read from.

/// glTF 1 and 2.
bool isGltf(const aiScene &scene);

/// Whether surfaces emit light apart from their texture. In the other formats, which describe the fixed-function pipeline,
/// the texture multiplies all light, emission included.
bool hasSeparateEmission(const aiScene &scene);

} // namespace zelview
