#pragma once

struct aiMaterial;
struct aiScene;

namespace zeltools {

// The meaning of some values in an assimp scene depends on the format of its file.

/// glTF 1 and 2.
bool isGltf(const aiScene &scene);
/// Whether the material follows glTF's shading model, which defines its maps and factors.
bool isGltf(const aiMaterial &material);

/// Whether emission is independent of the colour texture. In the other formats, which describe the fixed-function pipeline,
/// the texture multiplies all light, including the emission.
bool hasSeparateEmission(const aiScene &scene);

} // namespace zeltools
