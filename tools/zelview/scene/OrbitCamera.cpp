#include "scene/OrbitCamera.h"

#include "scene/Scene.h"

#include <QtCore/qmath.h>

#include <algorithm>
#include <cmath>

namespace zelview {

namespace {

constexpr float kFieldOfView = 28.0f; ///< vertical, degrees: a long lens, for little distortion
constexpr float kMargin = 0.10f;      ///< part of the viewport, for both sides together
constexpr float kMaxElevation = 89.0f;
constexpr float kDegreesPerDrag = 200.0f;
constexpr float kZoomStep = 0.9f;

/// Limits of the distance, in radii of the scene.
constexpr float kNearest = 0.02f;
constexpr float kFarthest = 50.0f;

float halfHeightAtOne()
{
    return std::tan(qDegreesToRadians(0.5f * kFieldOfView));
}

/// The radius of the scene, or a usable value if the extent is smaller than the rounding of the coordinates, such as that
/// of a single point.
float sensibleRadius(const Box &bounds)
{
    const float remoteness = bounds.center().length();
    if (bounds.radius() > 1e-5f * remoteness) {
        return bounds.radius();
    }
    return remoteness > 0.0f ? 0.01f * remoteness : 1.0f;
}

/// The apex of the wedge that just contains the scene, and whose half-width grows by \a slope per unit of depth: its
/// coordinates along the axis and along the depth.
struct Apex
{
    float across;
    float depth;
};

Apex touch(const Scene &scene, const QVector3D &axis, const QVector3D &back, float slope)
{
    // A point at (a, d) is inside while |a - across| <= slope * (depth - d).
    const float high = scene.reach(axis + slope * back);
    const float low = scene.reach(-axis + slope * back);
    return {0.5f * (high - low), 0.5f * (high + low) / slope};
}

} // namespace

OrbitCamera::OrbitCamera(float azimuth, float elevation)
    : _azimuth(azimuth)
    , _elevation(elevation)
{
}

void OrbitCamera::frame(const Scene &scene, float aspect)
{
    const float slope = halfHeightAtOne() * (1.0f - kMargin);
    const Apex horizontal = touch(scene, right(), back(), slope * aspect);
    const Apex vertical = touch(scene, up(), back(), slope);

    _sceneCenter = scene.bounds.center();
    _sceneRadius = sensibleRadius(scene.bounds);

    const float targetDepth = QVector3D::dotProduct(_sceneCenter, back());
    _distance = std::max(std::max(horizontal.depth, vertical.depth) - targetDepth, kNearest * _sceneRadius);
    _target = right() * horizontal.across + up() * vertical.across + back() * targetDepth;
    _isFitted = true;
}

void OrbitCamera::refit(const Scene &scene, float aspect)
{
    if (_isFitted) {
        frame(scene, aspect);
    }
}

void OrbitCamera::orbit(const QVector2D &drag)
{
    _azimuth = std::fmod(_azimuth - kDegreesPerDrag * drag.x(), 360.0f);
    _elevation = std::clamp(_elevation + kDegreesPerDrag * drag.y(), -kMaxElevation, kMaxElevation);
}

void OrbitCamera::pan(const QVector2D &drag)
{
    const float height = 2.0f * halfHeightAtOne() * _distance;
    _isFitted = false;
    _target += height * (drag.y() * up() - drag.x() * right());
}

void OrbitCamera::zoom(float steps)
{
    _isFitted = false;
    _distance =
        std::clamp(_distance * std::pow(kZoomStep, steps), kNearest * _sceneRadius, kFarthest * _sceneRadius);
}

View OrbitCamera::at(float aspect) const
{
    return {view(), projection(aspect), eye(), azimuth()};
}

QMatrix4x4 OrbitCamera::view() const
{
    QMatrix4x4 matrix;
    matrix.lookAt(eye(), _target, up());
    return matrix;
}

QMatrix4x4 OrbitCamera::projection(float aspect) const
{
    const float depth = QVector3D::dotProduct(eye() - _sceneCenter, back());
    const float farPlane = std::max(depth + 1.05f * _sceneRadius, 2.0f * kNearest * _sceneRadius);
    // The near plane is before the scene if possible, but never so near that the depth buffer loses its resolution.
    const float nearPlane = std::max(depth - 1.05f * _sceneRadius, 0.001f * farPlane);
    QMatrix4x4 matrix;
    matrix.perspective(kFieldOfView, aspect, nearPlane, farPlane);
    return matrix;
}

QVector3D OrbitCamera::eye() const
{
    return _target + _distance * back();
}

QVector3D OrbitCamera::right() const
{
    const float turn = qDegreesToRadians(_azimuth);
    return {std::cos(turn), 0.0f, -std::sin(turn)};
}

QVector3D OrbitCamera::up() const
{
    return QVector3D::crossProduct(back(), right());
}

QVector3D OrbitCamera::back() const
{
    const float turn = qDegreesToRadians(_azimuth);
    const float rise = qDegreesToRadians(_elevation);
    return {std::sin(turn) * std::cos(rise), std::sin(rise), std::cos(turn) * std::cos(rise)};
}

} // namespace zelview
