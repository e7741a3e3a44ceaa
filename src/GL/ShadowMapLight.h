#pragma once

#include "Export.h"

#include <QtCore/QObject>
#include <QtGui/QMatrix4x4>

namespace Orvane { namespace Zel {

/// A light as the shadow service sees it; ShadowMapManager::Light.
///
/// Units:   transform places the light in the world. A spot light looks along its
///          -z axis, a directional light shines along its +z axis, a point light's
///          first face looks along its -z axis. Angles in radians.
/// Context: none.
/// Errors:  none; any value is kept.
/// Source:  none; a plain record that a QVariant can carry as QObject*.
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

    /// The wanted number of cascades; below 2 there is one projection.
    int csmLevels() const { return _csmLevels; }
    void setCSMLevels(int levels) { _csmLevels = levels; }

    /// Half the cone's angle. Of a point light it picks the faces: 0 or below six,
    /// up to pi / 4 one, up to 3 pi / 4 five, above that six.
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
