#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtGui/QImage>
#include <QtGui/QMatrix4x4>
#include <QtGui/QTransform>
#include <QtGui/QVector3D>
#include <QtGui/QVector4D>

#include <array>
#include <limits>
#include <vector>

namespace zelview {

/// An axis-parallel box; empty until something is put in.
struct Box
{
    QVector3D low{3.4e38f, 3.4e38f, 3.4e38f};
    QVector3D high{-3.4e38f, -3.4e38f, -3.4e38f};

    void add(const QVector3D &point);
    bool isEmpty() const { return low.x() > high.x(); }
    QVector3D center() const { return 0.5f * (low + high); }
    /// Of the sphere around the box.
    float radius() const { return 0.5f * (high - low).length(); }
};

/// A vertex as the GPU gets it.
struct Vertex
{
    std::array<float, 3> position;
    std::array<float, 3> normal; ///< unit length
    std::array<float, 2> texCoord;
    std::array<quint8, 4> color;         ///< linear, 255 for 1; white where the file has none
    std::array<float, 2> texCoord2 = {}; ///< a second set, for the maps that take it

    QVector3D point() const { return {position[0], position[1], position[2]}; }
};

/// A range of the scene's indices, all of one material.
struct Mesh
{
    quint32 firstIndex = 0;
    quint32 indexCount = 0;  ///< three for each triangle
    quint32 firstVertex = 0; ///< what the mesh's indices count from
    quint32 vertexCount = 0;
    int material = 0;
    Box bounds; ///< in its own space
};

/// One file of a UDIM set.
struct TextureTile
{
    int column = 0; ///< of the unit squares of texture coordinates, from 0
    int row = 0;
    QString path;
};

/// An image that materials name: a file, or bytes or pixels inside the model's own file.
struct TextureSource
{
    enum Wrap { eRepeat, eClamp, eMirror };

    QString name;                   ///< as the model states it
    bool isColor = true;            ///< encoded as sRGB; otherwise numbers
    QString path;                   ///< of the file
    QByteArray encoded;             ///< an image file's contents, embedded
    QImage pixels;                  ///< embedded as they are
    std::vector<TextureTile> tiles; ///< of a UDIM set, of which the path is the first; otherwise empty
    Wrap wrapU = eRepeat;
    Wrap wrapV = eRepeat;
};

/// What a map of a material says.
enum MapKind {
    eBaseColorMap, ///< multiplies colour and opacity
    eSurfaceMap,   ///< green multiplies the roughness, blue the metalness
    eNormalMap,    ///< in tangent space
    eOcclusionMap, ///< red: how much of the light from all around arrives
    eEmissiveMap   ///< multiplies the emission
};
constexpr size_t kMapKinds = 5;

/// Where a vertex's texture coordinates come from.
struct TexCoords
{
    unsigned int set = 0;    ///< of the file
    QTransform toImage = {}; ///< applied to them

    bool operator==(const TexCoords &other) const { return set == other.set && toImage == other.toImage; }
};

/// A texture in the service of a material.
struct MaterialMap
{
    int texture = -1; ///< of the scene; -1: none
    int set = 0;      ///< of the two sets of texture coordinates of a vertex
};

/// Metal-roughness shading; colours are linear.
struct Material
{
    QString name;
    QVector4D baseColor{0.8f, 0.8f, 0.8f, 1.0f}; ///< alpha is opacity
    QVector3D emission;
    float metalness = 0.0f;
    float roughness = 0.5f; ///< perceptual: the square of it goes into the distribution of normals
    float normalScale = 1.0f;
    float occlusionStrength = 1.0f;
    std::array<MaterialMap, kMapKinds> maps; ///< by MapKind
    std::array<TexCoords, 2> texCoords;      ///< that become the two sets of a vertex
    float alphaCutoff = -1.0f;               ///< less opaque parts are left out
    bool isBlended = false;                  ///< drawn behind the opaque ones, from back to front
    bool isTwoSided = true;                  ///< unless the file says that back faces are not to be seen

    bool has(MapKind kind) const { return maps[kind].texture >= 0; }
};

/// A place in the hierarchy.
struct Node
{
    QString name;
    int parent = -1; ///< an earlier node; -1: none
    QMatrix4x4 local;
    bool isHidden = false; ///< with all below it
};

/// A camera of the file: at its node, and looks along -z of its own space.
struct SceneCamera
{
    QString name;
    int node = 0;
    QMatrix4x4 local; ///< to the node
    bool isOrthographic = false;
    float height =
        0.6f; ///< of the view, whatever its width: at distance 1, or everywhere where it is orthographic
    float nearPlane = 0.1f;
    float farPlane = 100.0f;
};

/// A light of the file, along -z of its own space.
struct SceneLight
{
    enum Type { eDirectional, ePoint, eSpot };

    QString name;
    Type type = ePoint;
    int node = 0;
    QMatrix4x4 local;                  ///< to the node
    QVector3D color{1.0f, 1.0f, 1.0f}; ///< linear, the greatest channel 1
    float intensity = 1.0f;            ///< candela, or lux of a directional light
    float range = 0.0f;                ///< where it ends; 0: nowhere
    float innerCone = 0.0f;            ///< degrees from the axis
    float outerCone = 45.0f;           ///< degrees from the axis
};

/// One mesh in one place.
struct Draw
{
    int mesh = 0;
    QMatrix4x4 transform; ///< from the mesh's space to the world: that of its node and all above
    int node = 0;
    bool isHidden = false; ///< by its node or one above
};

/// A model, ready to be drawn. Free of GL.
///
/// Units: the file's own; y is up.
struct Scene
{
    std::vector<Vertex> vertices;
    std::vector<quint32> indices;
    std::vector<Mesh> meshes;
    std::vector<Material> materials;
    std::vector<TextureSource> textures;
    std::vector<Node> nodes; ///< parents before their children
    std::vector<Draw> draws;
    std::vector<SceneCamera> cameras;
    std::vector<SceneLight> lights;
    int drawsTogether = std::numeric_limits<int>::max(); ///< the most that one drawable may take
    Box bounds;                                          ///< of all draws, in the world
    QStringList remarks;                                 ///< what is missing, in words

    /// From a node's space to the world.
    QMatrix4x4 worldTransform(int node) const;
    const Material &materialOf(const Draw &draw) const;

    /// Triangles drawn; a mesh counts as often as it is drawn.
    qint64 placedTriangles() const;

    /// The greatest dot product of \a direction with any vertex that is not hidden, in the world: how far the scene reaches.
    float reach(const QVector3D &direction) const;
};

} // namespace zelview
