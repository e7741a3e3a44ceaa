#include "ModelLoader.h"

#include <QtCore/QFileInfo>

#include <assimp/Importer.hpp>
#include <assimp/material.h>
#include <assimp/mesh.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>

namespace zelview {

namespace {

constexpr unsigned int kSteps =
    aiProcess_Triangulate | aiProcess_JoinIdenticalVertices | aiProcess_GenSmoothNormals
    | aiProcess_SortByPType | aiProcess_FindInvalidData | aiProcess_TransformUVCoords
    | aiProcess_RemoveRedundantMaterials | aiProcess_ImproveCacheLocality | aiProcess_ValidateDataStructure;

/// Edges sharper than this stay edges where normals are generated; degrees.
constexpr float kSmoothingAngle = 40.0f;

/// What a material without a word about gloss gets: satin shows form better than chalk.
constexpr float kUnspokenRoughness = 0.45f;

/// Beyond it squares of lengths leave the range of float.
constexpr float kMaxCoordinate = 1e15f;

Problem inputProblem(const QString &path, const QString &text)
{
    return {ExitCode::eInput, QStringLiteral("'%1' %2").arg(path, text)};
}

Failure checkFile(const QString &path)
{
    const QFileInfo file(path);
    if (!file.exists()) {
        return Problem{ExitCode::eFile, QStringLiteral("there is no file '%1'").arg(path)};
    }
    if (!file.isFile() || !file.isReadable()) {
        return Problem{ExitCode::eFile, QStringLiteral("'%1' is not a file that can be read").arg(path)};
    }
    return {};
}

QMatrix4x4 toMatrix(const aiMatrix4x4 &m)
{
    return {m.a1, m.a2, m.a3, m.a4, m.b1, m.b2, m.b3, m.b4, m.c1, m.c2, m.c3, m.c4, m.d1, m.d2, m.d3, m.d4};
}

float toLinear(float encoded)
{
    return encoded <= 0.04045f ? encoded / 12.92f : std::pow((encoded + 0.055f) / 1.055f, 2.4f);
}

quint8 toByte(float unit)
{
    return quint8(std::lround(255.0f * std::clamp(unit, 0.0f, 1.0f)));
}

/// A number of the material, or the default.
float number(const aiMaterial &source, const char *key, unsigned int type, unsigned int index,
             float byDefault)
{
    float value = byDefault;
    return source.Get(key, type, index, value) == aiReturn_SUCCESS && std::isfinite(value) ? value
                                                                                           : byDefault;
}

/// glTF states linear base colours; the other formats mean their diffuse colours as they look on a screen.
QVector4D baseColor(const aiMaterial &source)
{
    aiColor4D color;
    if (source.Get(AI_MATKEY_BASE_COLOR, color) == aiReturn_SUCCESS) {
        return {color.r, color.g, color.b, color.a};
    }
    if (source.Get(AI_MATKEY_COLOR_DIFFUSE, color) != aiReturn_SUCCESS) {
        return Material().baseColor;
    }
    return {toLinear(color.r), toLinear(color.g), toLinear(color.b), number(source, AI_MATKEY_OPACITY, 1.0f)};
}

bool isBlended(const aiMaterial &source, float opacity)
{
    aiString mode;
    if (source.Get("$mat.gltf.alphaMode", 0, 0, mode) == aiReturn_SUCCESS) {
        return mode == aiString("BLEND");
    }
    return opacity < 1.0f;
}

float roughness(const aiMaterial &source)
{
    const float stated = number(source, AI_MATKEY_ROUGHNESS_FACTOR, -1.0f);
    const float metalness = number(source, AI_MATKEY_METALLIC_FACTOR, 0.0f);
    // Exporters of plain colours leave glTF's default of 1.
    const bool isUnspoken =
        stated >= 1.0f && metalness <= 0.0f && source.GetTextureCount(aiTextureType_BASE_COLOR) == 0;
    if (stated >= 0.0f) {
        return isUnspoken ? kUnspokenRoughness : std::min(stated, 1.0f);
    }
    const float shininess = number(source, AI_MATKEY_SHININESS, 0.0f);
    // Width of a Phong lobe in terms of the distribution of normals: Walter et al., 2007, a^2 = 2 / (n + 2).
    return shininess > 1.0f ? std::pow(2.0f / (shininess + 2.0f), 0.25f) : kUnspokenRoughness;
}

Material toMaterial(const aiMaterial &source)
{
    Material material;
    material.name = QString::fromUtf8(source.GetName().C_Str());
    material.baseColor = baseColor(source);
    material.metalness = std::clamp(number(source, AI_MATKEY_METALLIC_FACTOR, 0.0f), 0.0f, 1.0f);
    material.roughness = roughness(source);
    material.isBlended = isBlended(source, material.baseColor.w());
    aiColor4D emission;
    if (source.Get(AI_MATKEY_COLOR_EMISSIVE, emission) == aiReturn_SUCCESS) {
        material.emission = {emission.r, emission.g, emission.b};
    }
    return material;
}

Vertex toVertex(const aiMesh &source, unsigned int index)
{
    Vertex vertex{{}, {0.0f, 1.0f, 0.0f}, {}, {255, 255, 255, 255}};
    const aiVector3D &position = source.mVertices[index];
    vertex.position = {position.x, position.y, position.z};
    if (source.HasNormals()) {
        const aiVector3D &normal = source.mNormals[index];
        vertex.normal = {normal.x, normal.y, normal.z};
    }
    if (source.HasTextureCoords(0)) {
        const aiVector3D &texCoord = source.mTextureCoords[0][index];
        vertex.texCoord = {texCoord.x, texCoord.y};
    }
    if (source.HasVertexColors(0)) {
        const aiColor4D &color = source.mColors[0][index];
        vertex.color = {toByte(color.r), toByte(color.g), toByte(color.b), toByte(color.a)};
    }
    return vertex;
}

/// Puts the meshes of a file behind one another in the scene's arrays.
Mesh appendMesh(const aiMesh &source, Scene &scene)
{
    Mesh mesh;
    mesh.firstIndex = quint32(scene.indices.size());
    mesh.firstVertex = quint32(scene.vertices.size());
    mesh.vertexCount = source.mNumVertices;
    mesh.material = int(source.mMaterialIndex);
    for (unsigned int i = 0; i < source.mNumVertices; ++i) {
        scene.vertices.push_back(toVertex(source, i));
    }
    for (unsigned int i = 0; i < source.mNumFaces; ++i) {
        const aiFace &face = source.mFaces[i];
        if (face.mNumIndices == 3) {
            scene.indices.insert(scene.indices.end(), face.mIndices, face.mIndices + 3);
        }
    }
    mesh.indexCount = quint32(scene.indices.size()) - mesh.firstIndex;
    return mesh;
}

/// Whether the counts, which GL takes as int, can be held.
bool isWithinLimits(const aiScene &source)
{
    qint64 vertices = 0;
    qint64 indices = 0;
    for (unsigned int i = 0; i < source.mNumMeshes; ++i) {
        vertices += source.mMeshes[i]->mNumVertices;
        indices += 3 * qint64(source.mMeshes[i]->mNumFaces);
    }
    const qint64 most = std::numeric_limits<int>::max() / qint64(sizeof(Vertex));
    return vertices <= most && indices <= std::numeric_limits<int>::max() / qint64(sizeof(quint32));
}

/// One draw for each mesh of each node. The stack is our own: files decide how deep a hierarchy goes.
void appendDraws(const aiNode &root, Scene &scene)
{
    std::vector<std::pair<const aiNode *, QMatrix4x4>> open{{&root, toMatrix(root.mTransformation)}};
    while (!open.empty()) {
        const auto [node, transform] = open.back();
        open.pop_back();
        for (unsigned int i = 0; i < node->mNumMeshes; ++i) {
            const int mesh = int(node->mMeshes[i]);
            if (scene.meshes[size_t(mesh)].indexCount > 0) {
                scene.draws.push_back({mesh, transform});
            }
        }
        for (unsigned int i = node->mNumChildren; i > 0; --i) {
            const aiNode *child = node->mChildren[i - 1];
            open.emplace_back(child, transform * toMatrix(child->mTransformation));
        }
    }
}

/// Six reaches are the box, without a transformed copy of every vertex.
Box boundsOf(const Scene &scene)
{
    Box box;
    for (int axis = 0; axis < 3; ++axis) {
        QVector3D direction;
        direction[axis] = 1.0f;
        box.high[axis] = scene.reach(direction);
        box.low[axis] = -scene.reach(-direction);
    }
    return box;
}

bool isUsable(const Box &box)
{
    for (int axis = 0; axis < 3; ++axis) {
        // The comparisons are written so that a NaN fails them.
        if (!(box.low[axis] >= -kMaxCoordinate && box.high[axis] <= kMaxCoordinate
              && box.low[axis] <= box.high[axis])) {
            return false;
        }
    }
    return true;
}

Expected<Scene> flatten(const aiScene &source, const QString &path)
{
    if (!isWithinLimits(source)) {
        return inputProblem(path, QStringLiteral("is too large: its vertices do not fit into one buffer"));
    }
    Scene scene;
    for (unsigned int i = 0; i < source.mNumMaterials; ++i) {
        scene.materials.push_back(toMaterial(*source.mMaterials[i]));
    }
    if (scene.materials.empty()) {
        scene.materials.emplace_back();
    }
    for (unsigned int i = 0; i < source.mNumMeshes; ++i) {
        scene.meshes.push_back(appendMesh(*source.mMeshes[i], scene));
    }
    appendDraws(*source.mRootNode, scene);
    if (scene.draws.empty()) {
        return inputProblem(path, QStringLiteral("holds no triangles"));
    }
    scene.bounds = boundsOf(scene);
    if (!isUsable(scene.bounds)) {
        return inputProblem(path, QStringLiteral("has coordinates that are no numbers or out of range"));
    }
    return scene;
}

Expected<Scene> import(const QString &path)
{
    Assimp::Importer importer;
    importer.SetPropertyFloat(AI_CONFIG_PP_GSN_MAX_SMOOTHING_ANGLE, kSmoothingAngle);
    const aiScene *source = importer.ReadFile(path.toUtf8().constData(), kSteps);
    if (source == nullptr || source->mRootNode == nullptr) {
        const QString reason = QString::fromUtf8(importer.GetErrorString()).simplified();
        return inputProblem(path, QStringLiteral("cannot be understood: ") + reason);
    }
    return flatten(*source, path);
}

} // namespace

Expected<Scene> loadModel(const QString &path)
{
    if (const Failure failure = checkFile(path)) {
        return *failure;
    }
    try {
        return import(path);
    } catch (const std::exception
                 &exception) { // assimp's readers throw on some broken files, and so does a full memory
        return inputProblem(path, QStringLiteral("cannot be understood: ")
                                      + QString::fromLocal8Bit(exception.what()));
    }
}

} // namespace zelview
