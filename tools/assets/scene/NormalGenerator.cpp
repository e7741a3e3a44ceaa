#include "scene/NormalGenerator.h"

#include <QtCore/qmath.h>

#include <assimp/mesh.h>
#include <assimp/scene.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <numeric>
#include <vector>

namespace zeltools {

namespace {

using Vector = aiVector3t<double>;
using Numbers = std::vector<unsigned int>;

/// The vertex index of a corner; each face has three corners.
unsigned int &indexOf(const aiMesh &mesh, unsigned int corner)
{
    return mesh.mFaces[corner / 3].mIndices[corner % 3];
}

bool isAnyShared(const aiMesh &mesh)
{
    std::vector<bool> isTaken(mesh.mNumVertices);
    for (unsigned int corner = 0; corner < 3 * mesh.mNumFaces; ++corner) {
        if (isTaken[indexOf(mesh, corner)]) {
            return true;
        }
        isTaken[indexOf(mesh, corner)] = true;
    }
    return false;
}

/// A key with a total order for any coordinate, which NaNs do not have as numbers.
quint32 bitsOf(float coordinate)
{
    coordinate += 0.0f; // -0 becomes 0
    quint32 bits = 0;
    std::memcpy(&bits, &coordinate, sizeof bits);
    return bits;
}

/// Numbers the distinct positions of the vertices: vertices at the same position have the same number.
struct Places
{
    explicit Places(const aiMesh &mesh)
        : ofVertices(mesh.mNumVertices)
    {
        const auto position = [&mesh](unsigned int vertex) {
            const aiVector3D &v = mesh.mVertices[vertex];
            return std::array<quint32, 3>{bitsOf(v.x), bitsOf(v.y), bitsOf(v.z)};
        };
        Numbers sorted(mesh.mNumVertices);
        std::iota(sorted.begin(), sorted.end(), 0);
        std::sort(sorted.begin(), sorted.end(),
                  [&position](unsigned int a, unsigned int b) { return position(a) < position(b); });
        for (size_t i = 0; i < sorted.size(); ++i) {
            count += i == 0 || position(sorted[i]) != position(sorted[i - 1]) ? 1 : 0;
            ofVertices[sorted[i]] = count - 1;
        }
    }

    Numbers ofVertices;
    unsigned int count = 0;
};

Vector faceNormal(const aiMesh &mesh, const aiFace &face)
{
    const auto corner = [&](int i) {
        const aiVector3D &v = mesh.mVertices[face.mIndices[i]];
        return Vector(double(v.x), double(v.y), double(v.z));
    };
    return ((corner(1) - corner(0)) ^ (corner(2) - corner(0))).NormalizeSafe();
}

/// The normal of each corner of each face.
std::vector<aiVector3D> cornerNormals(const aiMesh &mesh, double minCosine)
{
    // The corners at one position are a range of one list.
    const Places places(mesh);
    std::vector<Vector> faces(mesh.mNumFaces);
    Numbers ends(places.count + 1);
    const auto placeOf = [&](unsigned int corner) { return places.ofVertices[indexOf(mesh, corner)]; };
    for (unsigned int i = 0; i < mesh.mNumFaces; ++i) {
        faces[i] = faceNormal(mesh, mesh.mFaces[i]);
        for (unsigned int k = 0; k < 3; ++k) {
            ++ends[placeOf(3 * i + k) + 1];
        }
    }
    std::partial_sum(ends.begin(), ends.end(), ends.begin());
    Numbers next(ends.begin(), ends.end() - 1);
    Numbers facesByPlace(3 * size_t(mesh.mNumFaces));
    for (unsigned int corner = 0; corner < 3 * mesh.mNumFaces; ++corner) {
        facesByPlace[next[placeOf(corner)]++] = corner / 3;
    }

    std::vector<aiVector3D> normals;
    normals.reserve(facesByPlace.size());
    for (unsigned int corner = 0; corner < 3 * mesh.mNumFaces; ++corner) {
        const unsigned int place = placeOf(corner);
        const Vector &own = faces[corner / 3];
        if (own == Vector()) { // the face has no area
            normals.emplace_back();
            continue;
        }
        Vector sum;
        for (unsigned int i = ends[place]; i < ends[place + 1]; ++i) {
            const Vector &other = faces[facesByPlace[i]];
            if (facesByPlace[i] == corner / 3 || own * other >= minCosine) {
                sum += other;
            }
        }
        sum.NormalizeSafe();
        normals.emplace_back(float(sum.x), float(sum.y), float(sum.z));
    }
    return normals;
}

/// Replaces an array by copies of its elements. \a origins: for each new element, the index of the old one.
template <typename T> void repeat(T *&values, const Numbers &origins)
{
    if (values != nullptr) {
        auto *repeated = new T[origins.size()];
        std::transform(origins.begin(), origins.end(), repeated,
                       [values](unsigned int origin) { return values[origin]; });
        delete[] values;
        values = repeated;
    }
}

/// Does that for the arrays of a mesh or a morph target.
template <typename Mesh> void repeatVertices(Mesh &mesh, const Numbers &origins)
{
    repeat(mesh.mVertices, origins);
    repeat(mesh.mNormals, origins);
    repeat(mesh.mTangents, origins);
    repeat(mesh.mBitangents, origins);
    for (aiColor4D *&colors : mesh.mColors) {
        repeat(colors, origins);
    }
    for (aiVector3D *&texCoords : mesh.mTextureCoords) {
        repeat(texCoords, origins);
    }
    mesh.mNumVertices = static_cast<unsigned int>(origins.size());
}

bool isOfTriangles(const aiMesh &mesh)
{
    return std::all_of(mesh.mFaces, mesh.mFaces + mesh.mNumFaces,
                       [](const aiFace &face) { return face.mNumIndices == 3; });
}

/// Copies vertices so that faces share none. Returns for each vertex the one of which it is a copy. The copies follow the
/// vertices of the file, so that the indices in bones stay valid.
Numbers separateFaces(aiMesh &mesh)
{
    Numbers origins(mesh.mNumVertices);
    std::iota(origins.begin(), origins.end(), 0);
    std::vector<bool> isTaken(mesh.mNumVertices);
    for (unsigned int corner = 0; corner < 3 * mesh.mNumFaces; ++corner) {
        unsigned int &index = indexOf(mesh, corner);
        if (isTaken[index]) {
            origins.push_back(index);
            index = static_cast<unsigned int>(origins.size()) - 1;
        } else {
            isTaken[index] = true;
        }
    }
    return origins;
}

} // namespace

void generateSharedNormals(aiScene &scene, float smoothingAngle)
{
    const double minCosine = std::cos(qDegreesToRadians(double(smoothingAngle)));
    for (unsigned int i = 0; i < scene.mNumMeshes; ++i) {
        aiMesh &mesh = *scene.mMeshes[i];
        if (mesh.HasNormals() || !isOfTriangles(mesh) || !isAnyShared(mesh)) {
            continue;
        }
        const std::vector<aiVector3D> normals = cornerNormals(mesh, minCosine);
        const Numbers origins = separateFaces(mesh);
        repeatVertices(mesh, origins);
        for (unsigned int k = 0; k < mesh.mNumAnimMeshes; ++k) {
            repeatVertices(*mesh.mAnimMeshes[k], origins);
        }
        mesh.mNormals = new aiVector3D[mesh.mNumVertices];
        for (unsigned int corner = 0; corner < 3 * mesh.mNumFaces; ++corner) {
            mesh.mNormals[indexOf(mesh, corner)] = normals[corner];
        }
    }
}

} // namespace zeltools
