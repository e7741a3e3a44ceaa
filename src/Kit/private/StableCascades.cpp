#include "StableCascades.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace Orvane { namespace ZelKit {

namespace {

/// In double precision: a position far from the origin keeps its texel.
using Vector = std::array<double, 3>;

/// Widens the view, so that filters find texels at its edges.
constexpr double kWidening = 1.0 / 0.96;
constexpr double kGuardTexels = 4.0;  ///< of a side, for the rounding of the centre
constexpr double kDepthMargin = 0.01; ///< of the depths; a depth of exactly 0 or 1 counts as empty

constexpr double kMinRadius = 1e-6; ///< of a scene that is a point

/// More steps would make a cascade smaller than a millionth of the scene.
constexpr int kMaxStep = 40;

Vector toVector(const QVector3D &vector)
{
    return {double(vector.x()), double(vector.y()), double(vector.z())};
}

double dot(const Vector &a, const Vector &b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Vector along(const Vector &origin, const Vector &direction, double distance)
{
    return {origin[0] + distance * direction[0], origin[1] + distance * direction[1],
            origin[2] + distance * direction[2]};
}

Vector cross(const Vector &a, const Vector &b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Vector unit(const Vector &vector)
{
    const double length = std::sqrt(dot(vector, vector));
    return length > 0.0 ? Vector{vector[0] / length, vector[1] / length, vector[2] / length}
                        : Vector{0.0, -1.0, 0.0};
}

struct Sphere
{
    Vector center;
    double radius;
};

/// What slices need to know of the camera.
struct Camera
{
    Camera(const QMatrix4x4 &view, const QMatrix4x4 &projection)
        : eye(toVector(view.inverted().map(QVector3D())))
        , forward(unit(toVector(-view.row(2).toVector3D())))
        , isParallel(projection(3, 3) != 0.0f)
    {
        const int centre = isParallel ? 3 : 2; // the column that shifts the view
        const double x = (1.0 + std::abs(double(projection(0, centre)))) / double(projection(0, 0));
        const double y = (1.0 + std::abs(double(projection(1, centre)))) / double(projection(1, 1));
        corner = kWidening * std::hypot(x, y);
    }

    /// The least sphere around the part of the view between two depths.
    Sphere slice(double from, double to) const
    {
        if (isParallel) {
            return {along(eye, forward, 0.5 * (from + to)), std::hypot(0.5 * (to - from), corner)};
        }
        // It touches the corners of both ends, unless those of the far end are the ends of a diameter.
        const double squared = corner * corner;
        const double depth = std::min(0.5 * (from + to) * (1.0 + squared), to);
        return {along(eye, forward, depth), std::hypot(to - depth, to * corner)};
    }

    Vector eye;
    Vector forward;
    bool isParallel;
    double corner; ///< distance of a corner of the view from its axis: at depth 1, or everywhere
};

/// Axes of a light that depend only on its direction.
struct LightAxes
{
    explicit LightAxes(const Vector &direction)
        : z(unit(direction))
        , x(unit(cross(std::abs(z[1]) < 0.9 ? Vector{0.0, 1.0, 0.0} : Vector{1.0, 0.0, 0.0}, z)))
        , y(cross(z, x))
    {
    }

    Vector z;
    Vector x;
    Vector y;
};

QVector4D rowOf(const Vector &axis, double scale, double offset)
{
    return {float(axis[0] * scale), float(axis[1] * scale), float(axis[2] * scale), float(offset)};
}

} // namespace

int StableCascades::stepOf(int cascade, double radius, double sceneRadius)
{
    const double steps = 2.0 * std::log2(sceneRadius / std::max(radius, 1e-30));
    const int best = steps > 0.0 ? int(std::min(steps, double(kMaxStep))) : 0; // 0 for a NaN too
    int &step = _steps[size_t(cascade)];
    if (step > best || step < best - 1) { // too small, or far too large
        step = best;
    }
    return step;
}

void StableCascades::fit(const QMatrix4x4 &view, const QMatrix4x4 &projection, const SceneBox &box,
                         const QVector3D &direction, int count, int texels,
                         std::vector<QMatrix4x4> &projections)
{
    const Camera camera(view, projection);
    const LightAxes axes(toVector(direction));
    const Sphere scene{toVector(box.center()), std::max(0.5 * double(box.diameter()), kMinRadius)};
    projections.clear();
    _steps.resize(size_t(count), kMaxStep + 1);

    // 1. The depths of the casters along the light.
    double first = std::numeric_limits<double>::max();
    double last = std::numeric_limits<double>::lowest();
    for (int corner = 0; corner < SceneBox::kCorners; ++corner) {
        const double depth = dot(axes.z, toVector(box.corner(corner)));
        first = std::min(first, depth);
        last = std::max(last, depth);
    }
    const double margin = kDepthMargin * std::max(last - first, 1e-6 * scene.radius);
    const double length = last - first + 2.0 * margin;

    // 2. The depths that the camera sees, wherever it looks. Near cascades are much thinner than far ones.
    const Vector toScene = along(scene.center, camera.eye, -1.0);
    const double distance =
        camera.isParallel ? dot(toScene, camera.forward) : std::sqrt(dot(toScene, toScene));
    const double nearest =
        camera.isParallel ? distance - scene.radius : std::max(distance - scene.radius, 0.0);
    const double seen = distance + scene.radius - nearest;
    for (int cascade = 0; cascade < count; ++cascade) {
        const double from = double(cascade) / double(count);
        const double to = double(cascade + 1) / double(count);
        Sphere sphere = camera.slice(nearest + from * from * seen, nearest + to * to * seen);

        // 3. Its radius, in steps. A cascade as large as the scene has the scene's place.
        const int step = stepOf(cascade, sphere.radius, scene.radius);
        if (step == 0 || cascade == count - 1) {
            sphere.center = scene.center;
        }
        const double radius = cascade == count - 1 ? scene.radius : scene.radius * std::exp2(-0.5 * step);

        // 4. Its centre, on the grid of its texels.
        const double half = radius * double(texels) / std::max(double(texels) - kGuardTexels, 1.0);
        const double texel = 2.0 * half / double(texels);
        const double x = std::floor(dot(axes.x, sphere.center) / texel + 0.5) * texel;
        const double y = std::floor(dot(axes.y, sphere.center) / texel + 0.5) * texel;
        QMatrix4x4 matrix;
        matrix.setRow(0, rowOf(axes.x, 1.0 / half, -x / half));
        matrix.setRow(1, rowOf(axes.y, 1.0 / half, -y / half));
        matrix.setRow(2, rowOf(axes.z, 1.0 / length, (margin - first) / length));
        projections.push_back(matrix);
        if (step == 0) {
            break; // the next ones could not hold more
        }
    }
}

}} // namespace Orvane::ZelKit
