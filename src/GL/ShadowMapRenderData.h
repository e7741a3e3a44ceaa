#pragma once

#include "Export.h"

#include <QtCore/QObject>
#include <QtCore/QVector>
#include <QtGui/QMatrix4x4>

#include <array>

namespace Orvane { namespace Zel {

class Texture;

/// The table of depth projections that shaders read; ShadowMapManager::RenderData.
///
/// A host owns it, hands it to ShadowMapManager::processLights(), draws layer i of
/// projectionTexture with transforms[i] for the first transformCount layers, and
/// binds it around its shaded drawing.
///
/// Units:   transforms map the world to x and y from -1 to 1 and to a depth from
///          0 to 1 in z: the layer holds that z itself, not half of it.
/// Context: none.
/// Errors:  none; a projection beyond the end of the table is refused.
/// Source:  none; a plain record that a QVariant can carry as QObject*.
class ZELGL_EXPORT ShadowMapRenderData : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(ShadowMapRenderData)

public:
    /// A matrix as QMatrix4x4 stores it, and as GL takes it. It becomes one again by
    /// QMatrix4x4(values.data()).transposed().
    struct ZELGL_EXPORT Transform
    {
        Transform();
        Transform &operator=(const QMatrix4x4 &matrix);
        bool operator==(const QMatrix4x4 &matrix) const; ///< exact

        std::array<float, 16> values;
    };

    /// The projections of one light, as the shader's ivec2.
    struct ProjectorInfo
    {
        int count = 0;
        int index = 0;
    };

    /// For the host's blur of a layer.
    struct BlurInfo
    {
        float blur = 0.0005f;
    };

    explicit ShadowMapRenderData(QObject *parent = nullptr);
    ~ShadowMapRenderData() override;

    /// True when matrix or blur differ from what is stored. False too, and nothing
    /// is stored, beyond the end of the table.
    bool setTransform(int index, const QMatrix4x4 &matrix, float blur);

    Texture *projectionTexture = nullptr; ///< a 2D array depth texture; the host's
    int lightCount = 0;
    int transformCount = 0;
    QVector<Transform> transforms;
    QVector<ProjectorInfo> projectorInfos;
    QVector<BlurInfo> blurInfos;
};

}} // namespace Orvane::Zel
