#include "OrbitCamera.h"

#include "private/Failure.h"

#include <ZelGL/Bounds.h>

#include <QtCore/qmath.h>
#include <QtGui/QMouseEvent>
#include <QtGui/QWheelEvent>

#include <algorithm>
#include <cmath>

using namespace Orvane::Zel;

namespace Orvane { namespace ZelKit {

namespace {

constexpr float kMargin = 0.10f; ///< part of the viewport, for both sides together
constexpr float kMaxElevation = 89.0f;
constexpr float kDegreesPerDrag = 200.0f;
constexpr float kZoomStep = 0.9f;
constexpr float kWheelStep = 120.0f; ///< of QWheelEvent::angleDelta()

/// Limits of the distance, in radii of the scene.
constexpr float kNearest = 0.02f;
constexpr float kFarthest = 50.0f;

/// The radius of the scene, or a usable value if the extent is smaller than the rounding of the coordinates, such as that
/// of a single point.
float sensibleRadius(const OrbitCamera::Extent &extent)
{
    const float remoteness = extent.center.length();
    if (extent.radius > 1e-5f * remoteness) {
        return extent.radius;
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

Apex touch(const OrbitCamera::Extent &extent, const QVector3D &axis, const QVector3D &back, float slope)
{
    // A point at (a, d) is inside while |a - across| <= slope * (depth - d).
    const float high = extent.reach(axis + slope * back);
    const float low = extent.reach(-axis + slope * back);
    return {0.5f * (high - low), 0.5f * (high + low) / slope};
}

bool isFinite(const QVector3D &vector)
{
    return std::isfinite(vector.x()) && std::isfinite(vector.y()) && std::isfinite(vector.z());
}

bool isUsable(const OrbitCamera::Extent &extent, float aspect)
{
    const bool isUsable = isFinite(extent.center) && std::isfinite(extent.radius) && extent.radius >= 0.0f
                          && extent.reach && std::isfinite(aspect) && aspect > 0.0f;
    if (!isUsable) {
        fail(nullptr,
             QStringLiteral("the camera cannot frame a scene that is empty or not finite, or an aspect "
                            "that is not positive"));
    }
    return isUsable;
}

bool isUsable(float x, float y = 0.0f)
{
    const bool isUsable = std::isfinite(x) && std::isfinite(y);
    if (!isUsable) {
        fail(nullptr, QStringLiteral("the camera ignores a movement that is not finite"));
    }
    return isUsable;
}

OrbitCamera::Extent extentOf(const Bounds &box)
{
    const QVector3D low = box.boxLowerBounds();
    const QVector3D high = box.boxUpperBounds();
    const bool isEmpty = low.x() > high.x() || low.y() > high.y() || low.z() > high.z();
    const auto reach = [low, high](const QVector3D &direction) {
        float sum = 0.0f;
        for (int axis = 0; axis < 3; ++axis) {
            sum += std::max(direction[axis] * low[axis], direction[axis] * high[axis]);
        }
        return sum;
    };
    return {0.5f * (low + high), isEmpty ? -1.0f : 0.5f * (high - low).length(), reach};
}

} // namespace

OrbitCamera::OrbitCamera(float azimuth, float elevation, float fieldOfView)
    : _azimuth(azimuth)
    , _elevation(elevation)
    , _fieldOfView(fieldOfView)
{
}

void OrbitCamera::frame(const Extent &extent, float aspect)
{
    if (!isUsable(extent, aspect)) {
        return;
    }
    const float slope = halfHeightAtOne() * (1.0f - kMargin);
    const Apex horizontal = touch(extent, right(), back(), slope * aspect);
    const Apex vertical = touch(extent, up(), back(), slope);

    _sceneCenter = extent.center;
    _sceneRadius = sensibleRadius(extent);

    const float targetDepth = QVector3D::dotProduct(_sceneCenter, back());
    _distance = std::max(std::max(horizontal.depth, vertical.depth) - targetDepth, kNearest * _sceneRadius);
    _target = right() * horizontal.across + up() * vertical.across + back() * targetDepth;
    _isFitted = true;
}

void OrbitCamera::frame(const Bounds &box, float aspect)
{
    frame(extentOf(box), aspect);
}

void OrbitCamera::refit(const Extent &extent, float aspect)
{
    if (_isFitted) {
        frame(extent, aspect);
    }
}

void OrbitCamera::refit(const Bounds &box, float aspect)
{
    refit(extentOf(box), aspect);
}

void OrbitCamera::orbit(const QVector2D &drag)
{
    if (!isUsable(drag.x(), drag.y())) {
        return;
    }
    _azimuth = std::fmod(_azimuth - kDegreesPerDrag * drag.x(), 360.0f);
    _elevation = std::clamp(_elevation + kDegreesPerDrag * drag.y(), -kMaxElevation, kMaxElevation);
}

void OrbitCamera::pan(const QVector2D &drag)
{
    if (!isUsable(drag.x(), drag.y())) {
        return;
    }
    const float height = 2.0f * halfHeightAtOne() * _distance;
    _isFitted = false;
    _target += height * (drag.y() * up() - drag.x() * right());
}

void OrbitCamera::zoom(float steps)
{
    if (!isUsable(steps)) {
        return;
    }
    _isFitted = false;
    _distance =
        std::clamp(_distance * std::pow(kZoomStep, steps), kNearest * _sceneRadius, kFarthest * _sceneRadius);
}

bool OrbitCamera::handle(const QEvent *event, const QSize &viewport)
{
    const QEvent::Type type = event != nullptr ? event->type() : QEvent::None;
    if (type == QEvent::Wheel) {
        const int angle = static_cast<const QWheelEvent *>(event)->angleDelta().y();
        if (angle != 0) { // else the wheel is horizontal, or a touchpad begins or ends a scroll
            zoom(float(angle) / kWheelStep);
        }
        return angle != 0;
    }
    const bool isPress = type == QEvent::MouseButtonPress || type == QEvent::MouseButtonDblClick;
    if (!isPress && type != QEvent::MouseMove) {
        return false;
    }
    const auto *const mouse = static_cast<const QMouseEvent *>(event);
    const QPoint movement = mouse->pos() - _pointer;
    const bool isDrag = _isDragged && !isPress && mouse->buttons() != Qt::NoButton;
    _pointer = mouse->pos();
    _isDragged = mouse->buttons() != Qt::NoButton;
    if (!isDrag || movement.isNull() || viewport.height() < 1) {
        return false;
    }
    const QVector2D drag = QVector2D(movement) / float(viewport.height());
    if ((mouse->buttons() & Qt::LeftButton) != 0) {
        orbit(drag);
    } else {
        pan(drag);
    }
    return true;
}

QMatrix4x4 OrbitCamera::view() const
{
    QMatrix4x4 matrix;
    matrix.lookAt({}, -back(), up()); // not from the eye to the target: lookAt() ignores distances below 1e-5
    matrix.translate(-eye());
    return matrix;
}

QMatrix4x4 OrbitCamera::projection(float aspect) const
{
    const float depth = QVector3D::dotProduct(eye() - _sceneCenter, back());
    const float farPlane = std::max(depth + 1.05f * _sceneRadius, 2.0f * kNearest * _sceneRadius);
    // The near plane is before the scene if possible, but never so near that the depth buffer loses its resolution.
    const float nearPlane = std::max(depth - 1.05f * _sceneRadius, 0.001f * farPlane);
    QMatrix4x4 matrix;
    matrix.perspective(_fieldOfView, aspect, nearPlane, farPlane);
    return matrix;
}

QVector3D OrbitCamera::eye() const
{
    return _target + _distance * back();
}

float OrbitCamera::halfHeightAtOne() const
{
    return std::tan(qDegreesToRadians(0.5f * _fieldOfView));
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

}} // namespace Orvane::ZelKit
