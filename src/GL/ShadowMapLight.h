#pragma once

#include "Export.h"

#include <QtCore/QObject>
#include <QtGui/QMatrix4x4>

namespace Orvane { namespace Zel {

/// A light that may cast shadows; also named ShadowMapManager::Light.
///
/// A QObject, so that hosts can pass it as QObject* in a QVariant.
///
/// \snippet shadows.cpp ShadowMapLight
///
/// Units:   radians. The transform maps the light's space to the world. A spot light
///          looks along its -z axis, a directional light shines along its +z axis,
///          and the first face of a point light looks along its -z axis.
/// Context: none.
/// Errors:  none; all values are stored as they are.
class ZELGL_EXPORT ShadowMapLight : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(ShadowMapLight)

public:
    enum Type : int { ePoint = 0, eSpot = 1, eDirectional = 2 };

    explicit ShadowMapLight(QObject *parent = nullptr);
    ~ShadowMapLight() override;

    Type type() const { return _type; }
    void setType(Type type) { _type = type; }
    bool on() const { return _on; }
    void setOn(bool on) { _on = on; }
    bool shadowCaster() const { return _shadowCaster; }
    void setShadowCaster(bool shadowCaster) { _shadowCaster = shadowCaster; }

    /// The requested number of cascades. Below 2 the light has no cascades.
    int csmLevels() const { return _csmLevels; }
    void setCSMLevels(int levels) { _csmLevels = levels; }

    /// Half the angle of the cone. For a point light it chooses the number of faces:
    /// six up to 0, one up to pi / 4, five up to 3 pi / 4, and six above.
    float spotCutoff() const { return _spotCutoff; }
    void setSpotCutoff(float radians) { _spotCutoff = radians; }

    const QMatrix4x4 &transform() const { return _transform; }
    void setTransform(const QMatrix4x4 &transform) { _transform = transform; }

private:
    Type _type = ePoint;
    bool _on = true;
    bool _shadowCaster = true;
    int _csmLevels = 0;
    float _spotCutoff = -1.0f;
    QMatrix4x4 _transform;
};

}} // namespace Orvane::Zel
