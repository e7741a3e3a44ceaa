#include "light/Lights.h"

#include "frame/Options.h"
#include "light/StudioLight.h"
#include "scene/Scene.h"

#include <QtCore/qmath.h>

#include <algorithm>
#include <cmath>

namespace zeltools {

namespace {

/// Limit of the distance of shadows on the ground from the centre of the scene, in radii of the scene.
constexpr float kGroundReach = 4.0f;

/// Margin of the box: a surface exactly in a face of the box would cast no shadow.
constexpr float kBoxMargin = 0.01f;

/// The tangent of its angular radius: wider than that of the real sun, as through thin clouds.
constexpr float kSunSize = 0.02f;
constexpr float kLampSize = 0.02f; ///< radius, relative to the distance from the lit scene

/// Mean illuminance at the corners of the scene by all lights of a file.
constexpr float kFileIlluminance = 3.0f;

/// A light that points at the centre of the scene, with the intensity that results in \a illuminance there.
LightSource placed(LightSource::Type type, const Box &bounds, const QVector3D &towardsIt, float radii,
                   const QVector3D &illuminance)
{
    const float distance = radii * bounds.radius();
    LightSource light;
    light.type = type;
    light.position = bounds.center() + distance * towardsIt;
    light.direction = -towardsIt;
    light.color = illuminance * distance * distance;
    light.size = kLampSize * distance;
    light.innerCone = qDegreesToRadians(12.0f);
    light.halfAngle = qDegreesToRadians(24.0f);
    return light;
}

/// A warm key light and a cool rim light as spot lights, and a point light beside the model.
std::vector<LightSource> makeRig(const Box &bounds, float azimuth)
{
    return {placed(LightSource::eSpot, bounds, towards(azimuth - 44.0f, 48.0f), 3.2f,
                   QVector3D(1.00f, 0.94f, 0.85f) * 2.9f),
            placed(LightSource::ePoint, bounds, towards(azimuth + 70.0f, 28.0f), 1.5f,
                   QVector3D(1.00f, 0.72f, 0.45f) * 1.1f),
            placed(LightSource::eSpot, bounds, towards(azimuth + 155.0f, 38.0f), 3.0f,
                   QVector3D(0.62f, 0.78f, 1.00f) * 2.2f)};
}

LightSource fromFile(const SceneLight &source, const Scene &scene)
{
    const QMatrix4x4 placement = scene.worldTransform(source.node) * source.local;
    LightSource light;
    light.type = source.type == SceneLight::eDirectional ? LightSource::eDirectional
                 : source.type == SceneLight::eSpot      ? LightSource::eSpot
                                                         : LightSource::ePoint;
    light.position = placement.column(3).toVector3D();
    const QVector3D back = placement.column(2).toVector3D().normalized();
    if (!back.isNull()) { // a node that scales by 0 has none
        light.direction = -back;
    }
    light.color = source.color * source.intensity;
    light.range = source.range;
    light.innerCone = qDegreesToRadians(source.innerCone);
    light.halfAngle = qDegreesToRadians(source.outerCone);
    const bool isDirectional = light.type == LightSource::eDirectional;
    light.size = isDirectional ? kSunSize : kLampSize * (light.position - scene.bounds.center()).length();
    return light;
}

/// Scales the intensities to a usable exposure: files use different units, from less than one candela to tens of thousands.
void expose(std::vector<LightSource> &lights, const Box &bounds)
{
    float sum = 0.0f;
    for (int corner = 0; corner < Box::kCorners; ++corner) {
        for (const LightSource &light : lights) {
            sum += light.illuminance(bounds.corner(corner)).length();
        }
    }
    for (LightSource &light : lights) {
        light.color *= sum > 0.0f ? float(Box::kCorners) * kFileIlluminance / sum : 1.0f;
    }
}

std::vector<LightSource> makeFileLights(const Scene &scene)
{
    std::vector<LightSource> lights;
    for (const SceneLight &light : scene.lights) {
        lights.push_back(fromFile(light, scene));
    }
    expose(lights, scene.bounds);
    return lights;
}

/// Projects a point along a light onto the horizontal plane at \a level. Returns false if the light shines upward there.
bool projectToLevel(const LightSource &light, const QVector3D &point, float level, QVector3D &target)
{
    const bool isDirectional = light.type == LightSource::eDirectional;
    const QVector3D ray = isDirectional ? light.direction : point - light.position;
    if (ray.y() >= 0.0f) {
        return false;
    }
    target = point + ray * ((level - point.y()) / ray.y());
    return true;
}

} // namespace

QVector3D LightSource::illuminance(const QVector3D &point) const
{
    return type == eDirectional ? color : color / std::max((point - position).lengthSquared(), 1e-12f);
}

LightSource makeSun(const QVector3D &towardsIt, const QVector3D &illuminance)
{
    LightSource sun;
    sun.direction = -towardsIt;
    sun.color = illuminance;
    sun.size = kSunSize;
    return sun;
}

std::vector<LightSource> makeLights(LightRig rig, const Scene &scene, float azimuth)
{
    switch (rig) {
    case LightRig::eSun:
        return {makeSun(towards(azimuth - 48.0f, 47.0f), QVector3D(1.00f, 0.95f, 0.88f) * 3.1f)};
    case LightRig::eRig:
        return makeRig(scene.bounds, azimuth);
    case LightRig::eFile:
        return makeFileLights(scene);
    case LightRig::eNone:
        break;
    }
    return {};
}

Box shadowedBox(const Box &scene, const std::vector<LightSource> &lights, bool hasGround)
{
    Box box = scene;
    const float reach = kGroundReach * scene.radius();
    const float level = scene.low.y();
    for (const LightSource &light : lights) {
        for (int corner = 0; hasGround && corner < Box::kCorners; ++corner) {
            QVector3D target;
            if (projectToLevel(light, scene.corner(corner), level, target)) {
                const QVector3D fromCenter = target - scene.center();
                const float length = std::max(fromCenter.length(), reach);
                target = scene.center() + fromCenter * (reach / length);
                box.add(QVector3D(target.x(), level, target.z()));
            }
        }
    }
    const float margin = kBoxMargin * std::max(box.radius(), 1e-6f);
    box.add(box.low - QVector3D(margin, margin, margin));
    box.add(box.high + QVector3D(margin, margin, margin));
    return box;
}

} // namespace zeltools
