#pragma once

#include "Export.h"

#include <QtCore/QObject>
#include <QtCore/QVector>
#include <QtGui/QMatrix4x4>

#include <array>

namespace Orvane { namespace Zel {

class Texture;

/// The table of shadow projections; also named ShadowMapManager::RenderData.
///
/// The host owns it. ShadowMapManager::processLights() fills it; the host draws the
/// first transformCount layers of projectionTexture, layer i with transforms[i], and
/// calls ShadowMapManager::bind() for its shaded draws.
/// A QObject, so that hosts can pass it as QObject* in a QVariant.
///
/// \snippet shadows.cpp ShadowMapRenderData
///
/// Units:   transforms map the world to x and y from -1 to 1 and to z from 0 to 1.
///          A layer stores this z itself, not GL's 0.5 * z + 0.5.
/// Context: none.
/// Errors:  none; setTransform() ignores indices outside the table.
class ZELGL_EXPORT ShadowMapRenderData : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(ShadowMapRenderData)

public:
    /// A matrix in column-major order, as GL expects it. To convert it back, write
    /// QMatrix4x4(values.data()).transposed().
    struct ZELGL_EXPORT Transform
    {
        Transform();
        Transform &operator=(const QMatrix4x4 &matrix);
        bool operator==(const QMatrix4x4 &matrix) const; ///< exact

        std::array<float, 16> values;
    };

    /// The projections of one light: an ivec2 of the shader.
    struct ProjectorInfo
    {
        int count = 0;
        int index = 0;
    };

    /// The blur of a layer. The library sets it for the host and does not read it.
    struct BlurInfo
    {
        float blur = 0.0005f;
    };

    explicit ShadowMapRenderData(QObject *parent = nullptr);
    ~ShadowMapRenderData() override;

    /// Stores matrix and blur. Returns whether one of them changed. For an index
    /// outside the table it returns false and stores nothing.
    bool setTransform(int index, const QMatrix4x4 &matrix, float blur);

    Texture *projectionTexture = nullptr; ///< 2D array of depths or moments; owned by the host
    int lightCount = 0;
    int transformCount = 0;
    QVector<Transform> transforms;
    QVector<ProjectorInfo> projectorInfos;
    QVector<BlurInfo> blurInfos;
};

}} // namespace Orvane::Zel
