#include "scene/ModelLoader.h"

#include "file/Console.h"
#include "file/InputFile.h"
#include "scene/GltfHead.h"
#include "scene/GraphLoader.h"
#include "scene/ImportReport.h"
#include "scene/MaterialLoader.h"
#include "scene/MemoryBudget.h"
#include "scene/NormalGenerator.h"
#include "scene/Omissions.h"
#include "scene/SourceFormat.h"

#include <QtCore/QFileInfo>

#include <assimp/Importer.hpp>
#include <assimp/mesh.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>

namespace zeltools {

namespace {

constexpr unsigned int kFirstSteps = aiProcess_ValidateDataStructure | aiProcess_Triangulate
                                     | aiProcess_SortByPType | aiProcess_FindInvalidData;

/// Steps of assimp that expect faces without shared vertices.
constexpr unsigned int kLastSteps = aiProcess_RemoveRedundantMaterials | aiProcess_GenUVCoords
                                    | aiProcess_GenSmoothNormals | aiProcess_JoinIdenticalVertices
                                    | aiProcess_ImproveCacheLocality;

/// Generated normals keep edges sharp whose angle exceeds this, in degrees.
constexpr float kSmoothingAngle = 40.0f;

/// The squares of larger coordinates would exceed the range of float.
constexpr float kMaxCoordinate = 1e15f;

/// The memory limit for reading a file: enough for every valid file, including compressed ones.
quint64 memoryFor(const QString &path)
{
    constexpr quint64 kAtLeast = 1 << 30;
    constexpr quint64 kPerByte = 256;
    return std::min(kAtLeast + kPerByte * quint64(QFileInfo(path).size()), MemoryBudget::half());
}

Problem inputProblem(const QString &path, const QString &text)
{
    return {ExitCode::eInput, QStringLiteral("'%1' %2").arg(path, text)};
}

quint8 toByte(float unit)
{
    return quint8(std::lround(255.0f * std::clamp(unit, 0.0f, 1.0f)));
}

std::array<float, 2> toTexCoord(const aiMesh &source, unsigned int index, const TexCoords &wanted)
{
    if (!source.HasTextureCoords(wanted.set)) {
        return {};
    }
    const aiVector3D &stated = source.mTextureCoords[wanted.set][index];
    double x = double(stated.x);
    double y = double(stated.y);
    wanted.toImage.map(x, y, &x, &y);
    return {float(x), float(y)};
}

Vertex toVertex(const aiMesh &source, unsigned int index, const Material &material)
{
    Vertex vertex{{}, {0.0f, 1.0f, 0.0f}, {}, {255, 255, 255, 255}, {}};
    const aiVector3D &position = source.mVertices[index];
    vertex.position = {position.x, position.y, position.z};
    if (source.HasNormals()) {
        const aiVector3D &normal = source.mNormals[index];
        vertex.normal = {normal.x, normal.y, normal.z};
    }
    vertex.texCoord = toTexCoord(source, index, material.texCoords[0]);
    vertex.texCoord2 = toTexCoord(source, index, material.texCoords[1]);
    if (source.HasVertexColors(0)) {
        const aiColor4D &color = source.mColors[0][index];
        vertex.color = {toByte(color.r), toByte(color.g), toByte(color.b), toByte(color.a)};
    }
    return vertex;
}

/// Appends a mesh of the file to the arrays of the scene.
Mesh appendMesh(const aiMesh &source, Scene &scene)
{
    Mesh mesh;
    mesh.firstIndex = quint32(scene.indices.size());
    mesh.firstVertex = quint32(scene.vertices.size());
    mesh.vertexCount = source.mNumVertices;
    mesh.material = int(source.mMaterialIndex);
    const Material &material = scene.materials[source.mMaterialIndex];
    for (unsigned int i = 0; i < source.mNumVertices; ++i) {
        scene.vertices.push_back(toVertex(source, i, material));
        mesh.bounds.add(scene.vertices.back().point());
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

/// Whether the counts fit into int, GL's type for them.
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

/// The bounds of all draws, from the reach in six directions: no transformed copy of the vertices is needed.
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
        // The comparisons are false for NaN.
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
    loadMaterials(source, path, scene);
    for (unsigned int i = 0; i < source.mNumMeshes; ++i) {
        scene.meshes.push_back(appendMesh(*source.mMeshes[i], scene));
    }
    loadGraph(source, scene);
    if (scene.draws.empty()) {
        return inputProblem(path, QStringLiteral("holds no triangles"));
    }
    if (std::all_of(scene.draws.begin(), scene.draws.end(), [](const Draw &draw) { return draw.isHidden; })) {
        return inputProblem(path, QStringLiteral("hides all its triangles"));
    }
    scene.bounds = boundsOf(scene);
    if (!isUsable(scene.bounds)) {
        return inputProblem(path, QStringLiteral("has coordinates that are not finite or out of range"));
    }
    if (scene.bounds.radius() <= 0.0f) {
        return inputProblem(path, QStringLiteral("has no extent: all its vertices are at one point"));
    }
    return scene;
}

/// Adds remarks about what the file contains or refers to and the scene does not show.
void remark(const aiScene &source, const GltfHead &gltf, const QStringList &missing, Scene &scene)
{
    for (const QString &file : missing) {
        scene.remarks.append(QStringLiteral("file '%1' is missing; its contents are left out").arg(file));
    }
    if (const QString omissions = describeOmissions(source, gltf); !omissions.isEmpty()) {
        scene.remarks.append(QStringLiteral("not shown: ") + omissions);
    }
    showTransparentScene(scene);
}

Expected<Scene> import(const QString &path)
{
    const Console::Collector quiet;
    const MemoryBudget budget(memoryFor(path));
    QStringList missing;
    Assimp::Importer importer;
    importer.SetIOHandler(new RecordingFiles(missing));
    importer.SetPropertyFloat(AI_CONFIG_PP_GSN_MAX_SMOOTHING_ANGLE, kSmoothingAngle);
    const GltfHead gltf = GltfHead::of(path);
    const bool isSafe = !gltf.hasUnboundSkin && !isPlyWithoutHeaderEnd(path);
    const aiScene *source = isSafe ? importer.ReadFile(path.toUtf8().constData(), kFirstSteps) : nullptr;
    if (source != nullptr) {
        generateSharedNormals(*const_cast<aiScene *>(source),
                              kSmoothingAngle); // owned by the importer, which allows changes
        // MaterialLoader reads the texture transforms of glTF.
        const unsigned int transforms = isGltf(*source) ? 0u : aiProcess_TransformUVCoords;
        source = importer.ApplyPostProcessing(kLastSteps | transforms);
    }
    missing = statedIn(path, missing);
    if (source == nullptr || source->mRootNode == nullptr) {
        return inputProblem(path, describeFailure(path, gltf, importer, missing));
    }
    Expected<Scene> scene = flatten(*source, path);
    if (scene) {
        remark(*source, gltf, missing, *scene);
    }
    return scene;
}

} // namespace

Expected<Scene> loadModel(const QString &path)
{
    if (const Failure failure = checkInputFile(path)) {
        return *failure;
    }
    try {
        return import(path);
    } catch (const std::exception
                 &exception) { // assimp's readers throw for some malformed files, and if memory runs out
        return inputProblem(path, describeFailure(exception));
    }
}

} // namespace zeltools
