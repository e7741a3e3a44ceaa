#pragma once

/// \file
/// Private to the library; the tables of TvoImageCubemapUtils, free of GL calls: what the faces of a cube map are, and which
/// part of an image in a layout of faces belongs to each.

#include <QtGui/QGenericMatrix>

namespace TvoImageCubemapUtils {

constexpr int kFaces = 6;

/// The images +X, -X, +Y, -Y, +Z, -Z, as glTexImage2D() and glFramebufferTexture2D() name them.
unsigned int faceTarget(int face);

struct CubeFace
{
    /// From the normals of the quad, which are those of +X, to the face's; column after column.
    float normalMatrix[9];
    float clearColor[3]; ///< visible wherever a render draws nothing
};

extern const CubeFace kCubeFaces[kFaces];

/// The quad that each face is drawn with, a strip of two triangles.
constexpr int kQuadVertexCount = 4;
extern const float kQuadVertices[kQuadVertexCount * 2];
extern const float kQuadNormals[kQuadVertexCount * 3]; ///< directions of the face +X

/// From (direction, 1) to the texture coordinate in a cross of 4 by 3 cells, or of 3 by 4 if \a isHigh. Along the axis of the
/// face the direction has length 1.
QMatrix4x2 crossMatrix(bool isHigh, int face);

/// The same for a strip of six faces.
QMatrix4x2 stripMatrix(int face);

/// From the plane of the full-screen quad, at z = -1, to the directions of a face; row after row.
extern const float kFaceDirections[kFaces][9];

} // namespace TvoImageCubemapUtils
