#pragma once

struct aiScene;

namespace zelview {

/// Gives normals to the meshes that have none and whose faces share vertices, as in formats that list points once. The
/// normal of a face's corner is the mean of the faces around that lean less than \a smoothingAngle degrees from it; the
/// faces get vertices of their own, which may be joined where they are equal.
///
/// assimp's step expects that faces have vertices of their own: the last face's normal would count for all. When it gets
/// them, its time grows with the square of their number.
///
/// Bones keep their weights for one of a vertex's copies only: models are shown at rest.
void generateSharedNormals(aiScene &scene, float smoothingAngle);

} // namespace zelview
