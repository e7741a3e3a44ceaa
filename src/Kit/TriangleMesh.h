#pragma once

#include "KitExport.h"

#include <QtCore/QString>
#include <QtCore/QVector>
#include <QtGui/QVector2D>
#include <QtGui/QVector3D>

#include <memory>

namespace Orvane { namespace Zel {
class Bounds;
class DrawBuffers;
}} // namespace Orvane::Zel

namespace Orvane { namespace ZelKit {

/// Triangles, and the draw unit that is made of them.
///
/// Front faces are counterclockwise. Texture coordinates begin at the lower left.
///
/// \snippet kit.cpp TriangleMesh
///
/// - Units: the host's unit of length.
/// - Context: drawBuffers() and what it returns need one; the mesh itself none.
/// - Errors: drawBuffers() returns null, and explains why.
struct ZELKIT_EXPORT TriangleMesh
{
    /// Of the draw unit.
    struct ZELKIT_EXPORT Options
    {
        int instances = 1; ///< draw IDs are 0 to instances - 1
        /// Sub-draws that draw the whole mesh each, as GPUModel needs them; command i has the draw ID i. 0 for none.
        int commands = 0;
        // Names of the attributes in GLSL.
        QString position = QStringLiteral("va_Vertex");
        QString normal = QStringLiteral("va_Normal");
        QString texCoord = QStringLiteral("va_TexCoord");
    };

    QVector<QVector3D> positions;
    QVector<QVector3D> normals;   ///< one for each position, or none
    QVector<QVector2D> texCoords; ///< one for each position, or none
    QVector<quint32> indices;     ///< three for each triangle; without indices each three positions are one

    // Primitives with normals and texture coordinates.

    /// The parallelogram from -right - up to right + up. It faces the cross product of right and up.
    static TriangleMesh plane(const QVector3D &right = {1.0f, 0.0f, 0.0f},
                              const QVector3D &up = {0.0f, 1.0f, 0.0f});
    static TriangleMesh box(const QVector3D &lower = {-1.0f, -1.0f, -1.0f},
                            const QVector3D &upper = {1.0f, 1.0f, 1.0f});
    /// Around the origin, with poles on the y axis. \a segments: around the equator, at least 3.
    static TriangleMesh sphere(float radius = 1.0f, int segments = 48);

    /// The box around all positions.
    Zel::Bounds bounds() const;

    /// A draw unit of these triangles. Null if the mesh has no triangle, arrays of different lengths or an index without a
    /// position, or without a context; the reason goes to \a error, or is logged.
    std::unique_ptr<Zel::DrawBuffers> drawBuffers(const Options &options, QString *error = nullptr) const;
    std::unique_ptr<Zel::DrawBuffers> drawBuffers(int instances = 1, QString *error = nullptr) const;
};

}} // namespace Orvane::ZelKit
