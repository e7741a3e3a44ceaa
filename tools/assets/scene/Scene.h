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
#include <vector>

namespace zeltools {

/// An axis-aligned box; empty until a point is added.
struct Box
{
    static constexpr int kCorners = 8;

    QVector3D low{3.4e38f, 3.4e38f, 3.4e38f};
    QVector3D high{-3.4e38f, -3.4e38f, -3.4e38f};

    void add(const QVector3D &point);
    bool isEmpty() const { return low.x() > high.x(); }
    QVector3D center() const { return 0.5f * (low + high); }
    /// Corner 0 to kCorners - 1. A set bit of the number selects the upper side: bit 0 for x, bit 1 for y, bit 2 for z.
    QVector3D corner(int number) const;
    /// The radius of the sphere around the box.
    float radius() const { return 0.5f * (high - low).length(); }
};

/// A vertex, in the layout of the vertex buffer.
struct Vertex
{
    std::array<float, 3> position;
    std::array<float, 3> normal; ///< unit length
    std::array<float, 2> texCoord;
    std::array<quint8, 4> color;         ///< linear, 255 for 1; white if the file has none
    std::array<float, 2> texCoord2 = {}; ///< a second set, for maps that use it

    QVector3D point() const { return {position[0], position[1], position[2]}; }
};

/// A range of the scene's indices, all of one material.
struct Mesh
{
    quint32 firstIndex = 0;
    quint32 indexCount = 0;  ///< three for each triangle
    quint32 firstVertex = 0; ///< the vertex that index 0 refers to
    quint32 vertexCount = 0;
    int material = 0;
    Box bounds; ///< in its own space
};

/// One image file of a UDIM set.
struct TextureTile
{
    int column = 0; ///< unit square in texture coordinates, from 0
    int row = 0;
    QString path;
};

/// An image that materials refer to: a file, or bytes or pixels inside the model file.
struct TextureSource
{
    enum Wrap { eRepeat, eClamp, eMirror };

    QString name;                   ///< as stated in the model
    bool isColor = true;            ///< sRGB; otherwise plain numbers
    QString path;                   ///< empty if the image is embedded
    QByteArray encoded;             ///< an image file's contents, embedded
    QImage pixels;                  ///< embedded without encoding
    std::vector<TextureTile> tiles; ///< the files of a UDIM set, whose first is the path; otherwise empty
    Wrap wrapU = eRepeat;
    Wrap wrapV = eRepeat;
};

/// The meaning of a map of a material.
enum MapKind {
    eBaseColorMap, ///< multiplies colour and opacity
    eSurfaceMap,   ///< green multiplies the roughness, blue the metalness
    eNormalMap,    ///< in tangent space
    eOcclusionMap, ///< red: how much of the ambient light arrives
    eEmissiveMap   ///< multiplies the emission
};
constexpr size_t kMapKinds = 5;

/// The source of a texture-coordinate set of the vertices.
struct TexCoords
{
    unsigned int set = 0;    ///< index in the file
    QTransform toImage = {}; ///< applied to them

    bool operator==(const TexCoords &other) const { return set == other.set && toImage == other.toImage; }
};

/// A texture that a material uses.
struct MaterialMap
{
    int texture = -1; ///< index in the scene; -1: none
    int set = 0;      ///< which of the two texture-coordinate sets of a vertex
};

/// Metal-roughness shading; colours are linear.
struct Material
{
    QString name;
    QVector4D baseColor{0.8f, 0.8f, 0.8f, 1.0f}; ///< alpha is opacity
    QVector3D emission;
    float metalness = 0.0f;
    float roughness = 0.5f; ///< perceptual: its square is the width of the distribution of normals
    float normalScale = 1.0f;
    float occlusionStrength = 1.0f;
    std::array<MaterialMap, kMapKinds> maps; ///< by MapKind
    std::array<TexCoords, 2> texCoords;      ///< sources of the two sets of a vertex
    float alphaCutoff = -1.0f;               ///< parts with less opacity are discarded
    bool isBlended = false;                  ///< drawn after the opaque ones, from back to front
    bool isTwoSided = true;                  ///< false if the file states that back faces are invisible

    bool has(MapKind kind) const { return maps[kind].texture >= 0; }
};

/// A node of the hierarchy.
struct Node
{
    QString name;
    int parent = -1; ///< index of an earlier node; -1: none
    QMatrix4x4 local;
    bool isHidden = false; ///< hides its descendants too
};

/// A camera of the file; it looks along -z of its own space.
struct SceneCamera
{
    QString name;
    int node = 0;
    QMatrix4x4 local; ///< from its space to the node's
    bool isOrthographic = false;
    float height = 0.6f; ///< of the view, for every aspect: at distance 1, or constant if orthographic
    float nearPlane = 0.1f;
    float farPlane = 100.0f;
};

/// A light of the file; it shines along -z of its own space.
struct SceneLight
{
    enum Type { eDirectional, ePoint, eSpot };

    QString name;
    Type type = ePoint;
    int node = 0;
    QMatrix4x4 local;                  ///< from its space to the node's
    QVector3D color{1.0f, 1.0f, 1.0f}; ///< linear, the greatest channel 1
    float intensity = 1.0f;            ///< candela, or lux of a directional light
    float range = 0.0f;                ///< distance at which it ends; 0: infinite
    float innerCone = 0.0f;            ///< degrees from the axis
    float outerCone = 45.0f;           ///< degrees from the axis
};

/// A mesh with a transform.
struct Draw
{
    int mesh = 0;
    QMatrix4x4 transform; ///< from the mesh's space to the world, over all ancestors of its node
    int node = 0;
    bool isHidden = false; ///< by its node or an ancestor
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
    Box bounds;          ///< of all visible draws, in the world
    QStringList remarks; ///< lines about what is missing

    /// The transform from a node's space to the world.
    QMatrix4x4 worldTransform(int node) const;
    const Material &materialOf(const Draw &draw) const;

    /// Number of triangles drawn; a mesh counts as often as it is drawn.
    qint64 placedTriangles() const;
    /// A line about the size of all this.
    QString describe() const;

    /// How far the scene reaches: the greatest dot product of \a direction with a vertex that is not hidden, in the world.
    float reach(const QVector3D &direction) const;
};

} // namespace zeltools
