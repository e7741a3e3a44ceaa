#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtGui/QImage>
#include <QtGui/QMatrix4x4>
#include <QtGui/QVector3D>
#include <QtGui/QVector4D>

#include <array>
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
    std::array<quint8, 4> color; ///< linear, 255 for 1; white where the file has none

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
    QString path;                   ///< of the file
    QByteArray encoded;             ///< an image file's contents, embedded
    QImage pixels;                  ///< embedded as they are
    std::vector<TextureTile> tiles; ///< of a UDIM set, of which the path is the first; otherwise empty
    Wrap wrapU = eRepeat;
    Wrap wrapV = eRepeat;
};

/// Metal-roughness shading; colours are linear.
struct Material
{
    QString name;
    QVector4D baseColor{0.8f, 0.8f, 0.8f, 1.0f}; ///< alpha is opacity
    QVector3D emission;
    float metalness = 0.0f;
    float roughness = 0.5f;     ///< perceptual: the square of it goes into the distribution of normals
    int baseColorTexture = -1;  ///< multiplies the colour; -1: none
    unsigned int texCoords = 0; ///< which of a mesh's sets that texture takes
    float alphaCutoff = -1.0f;  ///< less opaque parts are left out
    bool isBlended = false;     ///< drawn behind the opaque ones, from back to front
};

/// One mesh in one place.
struct Draw
{
    int mesh = 0;
    QMatrix4x4 transform; ///< from the mesh's space to the world
};

/// A model without its node hierarchy, ready to be drawn. Free of GL.
///
/// Units: the file's own; y is up.
struct Scene
{
    std::vector<Vertex> vertices;
    std::vector<quint32> indices;
    std::vector<Mesh> meshes;
    std::vector<Material> materials;
    std::vector<TextureSource> textures;
    std::vector<Draw> draws;
    Box bounds;          ///< of all draws, in the world
    QStringList remarks; ///< what is missing, in words

    /// Triangles drawn; a mesh counts as often as it is drawn.
    qint64 placedTriangles() const;

    /// The greatest dot product of \a direction with any drawn vertex, in the world: how far the scene reaches.
    float reach(const QVector3D &direction) const;
};

} // namespace zelview
