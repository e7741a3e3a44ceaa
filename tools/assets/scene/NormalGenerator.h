#pragma once

struct aiScene;

namespace zeltools {

/// Generates normals for meshes that have none and whose faces share vertices, as in formats that store each point once.
/// The normal of a corner is the mean over the faces at its point whose normals differ from its face's by less than
/// \a smoothingAngle degrees. Afterwards faces share no vertices; the caller may join equal ones.
///
/// assimp's own step is not usable here: at shared vertices the normal of the last face would apply to all, and with
/// separate vertices its time grows with the square of their number.
///
/// Bones keep their weights for only one copy of a vertex, since zelview shows models in their rest pose.
void generateSharedNormals(aiScene &scene, float smoothingAngle);

} // namespace zeltools
