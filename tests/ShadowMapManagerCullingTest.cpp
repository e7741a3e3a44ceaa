// The fit of projections: each part of the scene that a light reaches and the camera sees has a map, which it fills.

#include "support/MessageCapture.h"
#include "support/ShadowTable.h"
#include "support/Vec.h"

#include <ZelGL/ShadowMapManagerCulling.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <vector>

using namespace Orvane::Zel;

namespace {

using Light = ShadowMapManager::Light;
using RenderData = ShadowMapManager::RenderData;
using Culling = ShadowMapManagerCulling;
using Box = QPair<QVector3D, QVector3D>;
using Points = std::vector<Vec>;
using Place = std::function<Vec(const Vec &)>;

constexpr double kPi = 3.14159265358979;

// The model represents volumes as half-spaces and finds their corners in double precision from all triples of planes: it
// shares no code with the clipper. Volumes and their projections are convex: what holds for the corners holds for all points.

/// Inside is where dot(normal, p) is at most the distance; the normal has length 1.
struct HalfSpace
{
    Vec normal;
    double distance;
};

using Region = std::vector<HalfSpace>;

Region operator+(Region a, const Region &b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

/// The corners of the region after every side moved outward by \a slack.
Points cornersOf(const Region &region, double slack = 0)
{
    Points corners;
    for (auto a = region.begin(); a != region.end(); ++a) {
        for (auto b = a + 1; b != region.end(); ++b) {
            for (auto c = b + 1; c != region.end(); ++c) {
                const double determinant = dot(cross(a->normal, b->normal), c->normal);
                const Vec corner = (1 / determinant)
                                   * ((a->distance + slack) * cross(b->normal, c->normal)
                                      + (b->distance + slack) * cross(c->normal, a->normal)
                                      + (c->distance + slack) * cross(a->normal, b->normal));
                const auto isInside = [&](const HalfSpace &side) {
                    return dot(side.normal, corner) - side.distance < slack + 1e-8 * length(corner);
                };
                if (std::abs(determinant) > 1e-9 && std::all_of(region.begin(), region.end(), isInside)) {
                    corners.push_back(corner);
                }
            }
        }
    }
    return corners;
}

/// The lowest and the highest coordinates of points.
struct Extent
{
    explicit Extent(const Points &points, const Place &place, double least = HUGE_VAL)
        : lower(least, least, least)
        , upper(-least, -least, -least)
    {
        for (const Vec &point : points) {
            const Vec at = place(point);
            lower = {std::min(lower.x, at.x), std::min(lower.y, at.y), std::min(lower.z, at.z)};
            upper = {std::max(upper.x, at.x), std::max(upper.y, at.y), std::max(upper.z, at.z)};
        }
    }

    /// The extent becomes -1 to 1.
    Vec spread(const Vec &p) const
    {
        const Vec size = upper - lower;
        const Vec twice = 2 * p - upper - lower;
        return {twice.x / size.x, twice.y / size.y, twice.z / size.z};
    }

    Vec lower, upper;
};

/// The space of a light, a face or a camera: coordinates along axes at right angles, of any length. The y axis is that of a
/// map, which shows y downward unless mirrored.
struct Space
{
    explicit Space(const QMatrix4x4 &pose = QMatrix4x4())
        : origin(pose.column(3).toVector3D())
        , x(pose.column(0).toVector3D())
        , y((pose.determinant() > 0 ? -1 : 1) * pose.column(1).toVector3D())
        , z(pose.column(2).toVector3D())
    {
    }

    Vec operator()(const Vec &p) const
    {
        const Vec from = p - origin;
        return {dot(from, x) / dot(x, x), dot(from, y) / dot(y, y), dot(from, z) / dot(z, z)};
    }

    /// The points whose coordinates, each times a factor, have at most this sum.
    HalfSpace side(const Vec &factors, double most) const
    {
        const Vec n = factors.x / dot(x, x) * x + factors.y / dot(y, y) * y + factors.z / dot(z, z) * z;
        return {normalized(n), (most + dot(n, origin)) / length(n)};
    }

    Region box(const Vec &lower, const Vec &upper) const
    {
        return {side({1, 0, 0}, upper.x),   side({-1, 0, 0}, -lower.x), side({0, 1, 0}, upper.y),
                side({0, -1, 0}, -lower.y), side({0, 0, 1}, upper.z),   side({0, 0, -1}, -lower.z)};
    }

    /// A pyramid along -z. The tangents are those of lengths, not of coordinates.
    Region pyramid(double tangentX, double tangentY) const
    {
        const double slopeX = tangentX * length(z) / length(x);
        const double slopeY = tangentY * length(z) / length(y);
        return {side({1, 0, slopeX}, 0), side({-1, 0, slopeX}, 0), side({0, 1, slopeY}, 0),
                side({0, -1, slopeY}, 0)};
    }

    Vec origin, x, y, z;
};

/// A scene and a camera of a random scale, far from the origin in some trials. Braces order the calls for random numbers.
struct Trial
{
    explicit Trial(unsigned int seed)
        : random(seed)
        , isFar(seed % 3 == 1)
        , scale(std::pow(10.0f, number(-4, 4)))
    {
        const QVector3D half = scale * QVector3D{size(), size(), size()};
        reach = half.length();
        const QVector3D middle = (isFar ? 1000 : 2) * reach * direction();
        box = Box(middle - half, middle + half);
        const QMatrix4x4 pose = this->pose(1, 1.2f * reach);
        view = pose.inverted();
        eye = Space(pose);
        const float degrees = number(25, 100);
        const float aspect = number(0.6f, 2);
        near = number(0.01f, 0.1f) * reach;
        far = number(1, 4) * reach;
        projection.perspective(degrees, aspect, near, far);
        const double tangent = std::tan(double(degrees) * kPi / 360);
        sides = eye.pyramid(double(aspect) * tangent, tangent);
    }

    float number(float low, float high) { return std::uniform_real_distribution<float>(low, high)(random); }
    bool oneIn(unsigned int count) { return random() % count == 0; }

    /// A random position and rotation. The axes have different lengths unless \a unit is 1. One pose in three mirrors.
    QMatrix4x4 pose(float unit, float distance)
    {
        QMatrix4x4 pose;
        const QVector3D away = direction();
        pose.translate((box.first + box.second) / 2 + number(0, distance) * away);
        pose.rotate(QQuaternion{number(-1, 1), number(-1, 1), number(-1, 1), number(-1, 1)}.normalized());
        const auto axis = [&] { return unit == 1 ? 1 : unit * number(0.5f, 2); };
        pose.scale(QVector3D{axis(), axis(), oneIn(3) ? -axis() : axis()});
        return pose;
    }

    Points corners() const
    {
        const QVector<QVector3D> points = Bounds(box.first, box.second).corners();
        return {points.begin(), points.end()};
    }
    Region scene() const
    {
        const Extent extent(corners(), Space());
        return Space().box(extent.lower, extent.upper);
    }

    /// What the camera sees in a cascade: quadratic splits of the depths at which it may see the scene.
    Region seen(int level, int levels) const
    {
        const Extent scene(corners(), eye);
        const double begin = levels > 1 ? std::max(double(near), -scene.upper.z) : double(near);
        const double end = levels > 1 ? std::min(double(far), -scene.lower.z) : double(far);
        const auto depthOf = [&](int split) {
            return begin + (end - begin) * split * split / (levels * levels);
        };
        return sides + Region{eye.side({0, 0, 1}, -depthOf(level)), eye.side({0, 0, -1}, depthOf(level + 1))};
    }

    float size() { return 10 * std::pow(0.05f, number(0, 1)); }
    QVector3D direction() { return QVector3D{number(-1, 1), number(-1, 1), number(-1, 1)}.normalized(); }

    std::mt19937 random;
    bool isFar;
    float scale; ///< of all lengths
    float reach; ///< half of the scene's diagonal
    Box box;
    QMatrix4x4 view;
    QMatrix4x4 projection;
    Space eye;
    Region sides;
    float near, far; ///< planes
};

/// Points, and where they should be in the map.
using Model = std::pair<Points, Place>;

/// The slice fills the map in x and y. The margin of a hundredth applies about the light's origin. Depths begin with the
/// first point of the scene in the path of the light, and end with the slice.
Model modelOfSlice(const Points &slice, const Space &light, const Trial &trial)
{
    Extent extent(slice, light);
    const Extent all(trial.corners(), light);
    const Region inTheWay =
        trial.scene() + light.box({extent.lower.x, extent.lower.y, all.lower.z}, extent.upper);
    extent.lower.z = Extent(cornersOf(inTheWay), light).lower.z;
    return {slice, [=](const Vec &point) {
                const Vec at = light(point);
                const Vec spread = extent.spread({0.99 * at.x, 0.99 * at.y, at.z});
                return Vec(spread.x, spread.y, spread.z / 2 + 0.5);
            }};
}

/// What is lit fills the map less the margin, but for points too close to the light to have a direction. Depths begin before
/// the first that is seen, and not before one hundredth of the last; points closer than that are left out.
Model modelOfFace(const Points &corners, const Space &face, const Region &lit, bool hasCamera,
                  const Trial &trial)
{
    const double last = -Extent(corners, face).lower.z;
    const double seenFrom = hasCamera ? -Extent(cornersOf(lit), face).upper.z : 0;
    const double first = std::max({seenFrom, last / 100, 1e-5});
    const auto tangents = [&](const Vec &point) {
        const Vec at = face(point);
        return at.z > -1e-3 * last ? Vec(0, 0, 0) : Vec(at.x / -at.z, at.y / -at.z, 0);
    };
    const Extent extent(corners, tangents,
                        std::tan(45.5 * kPi / 180)); // unequal axes make the pyramid larger
    const double near = 0.475 * first;
    const double far = 1.05 * last;
    return {cornersOf(trial.scene() + lit + Region{face.side({0, 0, 1}, -first)}), [=](const Vec &point) {
                const Vec at = face(point);
                const Vec spread = extent.spread({at.x / -at.z, at.y / -at.z, 0});
                return Vec(0.99 * spread.x, 0.99 * spread.y,
                           (far + near + 2 * far * near / at.z) / (far - near));
            }};
}

/// The half angle of a point light's cone, and the number of faces that it reaches.
constexpr std::pair<float, int> kCones[] = {{-1.0f, 6}, {0.0f, 6},       {0.5f, 1}, {0.7853982f, 1},
                                            {0.79f, 5}, {2.3561945f, 5}, {2.4f, 6}, {3.0f, 6}};

/// The axes of the light, from 1, that are x, y and z of a face; negative if they point the other way.
constexpr int kFaces[6][3] = {{1, 2, 3}, {2, 3, 1}, {2, -3, -1}, {3, 1, 2}, {3, -1, -2}, {-1, 2, -3}};

/// A camera at the height of 11, which looks down on the origin.
class ShadowMapManagerCullingTest : public MessageTest
{
protected:
    ShadowMapManagerCullingTest()
    {
        _view.translate(0, 0, -11);
        _projection.perspective(20, 1, 1, 200);
    }

    bool process(const std::vector<Light *> &lights, const Box &scene)
    {
        return ShadowMapManager::processLights(listOf(lights), _data, &_view, &_projection, &scene);
    }

    QMatrix4x4 _view;
    QMatrix4x4 _projection;
    RenderData _data;
};

} // namespace

TEST_F(ShadowMapManagerCullingTest, ProjectionsHoldWhatIsLitAndSeenAndNoMore)
{
    int maps = 0;
    int empty = 0;
    for (unsigned int seed = 0; seed < 2000 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        Trial trial(seed);
        const bool isPoint = seed % 3 == 0;
        const bool hasCamera = !trial.oneIn(10);
        const auto [cutoff, pointFaces] = kCones[seed % 8];
        const int faces = isPoint ? pointFaces : 1;
        const int levels = hasCamera && trial.oneIn(2) ? int(trial.number(2, 6)) : 1;
        Light light;
        light.setType(isPoint ? Light::ePoint : Light::eDirectional);
        light.setSpotCutoff(cutoff);
        light.setCSMLevels(levels);
        const float unit = std::pow(10.0f, trial.number(-2, 3)); // a light may have its own unit of length
        light.setTransform(trial.pose(unit * trial.scale, 2 * trial.reach));
        const QMatrix4x4 *view = hasCamera ? &trial.view : nullptr;
        Culling culling;
        culling.setupCameras(view, &trial.projection);
        culling.setupScene(&trial.box);
        culling.setupPost();
        Culling::ProcessCSMData csm;
        culling.setupLightCSMData(&light, csm);
        RenderData data;
        bool changed = false;
        EXPECT_TRUE(isPoint ? culling.processLightPoint(data, data.projectorInfos[0], &light, changed)
                            : culling.processLightDirectional(data, data.projectorInfos[0], &light, changed));

        int projector = 0;
        bool isCertain = true;
        for (int i = 0; i < faces * levels && isCertain; ++i) {
            const QMatrix4x4 toWorld = light.transform();
            QMatrix4x4 faceToWorld = toWorld;
            for (int axis = 0; axis < 3; ++axis) {
                const int from = kFaces[i / levels][axis];
                faceToWorld.setColumn(axis, (from > 0 ? 1 : -1) * toWorld.column(std::abs(from) - 1));
            }
            const Space space(faceToWorld);
            const float halfAngle = faces == 1 ? cutoff : -1;
            const double tangent = faces == 1 ? std::tan(double(halfAngle)) : 1;
            const Region lit = (hasCamera ? trial.seen(i % levels, levels) : Region())
                               + (isPoint ? space.pyramid(tangent, tangent) : Region());
            const Region region = trial.scene() + lit;
            const double sliver = (trial.isFar ? 0.03 : 2e-3) * double(trial.reach);
            if (cornersOf(region, sliver).empty()) {
                ++empty;
                continue;
            }
            isCertain = !cornersOf(region, -sliver).empty(); // else so thin that single precision may lose it
            if (!isCertain) {
                break;
            }
            ++maps;
            ASSERT_LT(projector, data.projectorInfos[0].count);
            const QMatrix4x4 map = matrixOf(data.transforms[projector++]);
            const Points corners = cornersOf(region);
            const auto [points, place] = isPoint ? modelOfFace(corners, space, lit, hasCamera, trial)
                                                 : modelOfSlice(corners, space, trial);
            for (const Vec &point : points) {
                const Vec at = map.map(point.rounded());
                ASSERT_LT(length(place(point) - at), isPoint ? 2e-3 : trial.isFar ? 5e-3 : 2e-4) << i;
            }
            QVector<QVector3D> anywhere;
            const QVector<QVector3D> actual = isPoint ? culling.getSceneCameraFrustrumLightFrustrumPointsCSM(
                                                  i % levels, csm, faceToWorld, halfAngle, {}, anywhere)
                                                      : culling.getSceneCameraFrustrumPointsCSM(i, csm, {});
            const Extent expected(corners, Space());
            const Extent found({actual.begin(), actual.end()}, Space());
            EXPECT_LT(length(expected.lower - found.lower), 2 * sliver);
            EXPECT_LT(length(expected.upper - found.upper), 2 * sliver);
        }
        if (isCertain) {
            EXPECT_EQ(projector, data.projectorInfos[0].count);
        }
    }
    EXPECT_TRUE(maps > 2000 && empty > 1000) << maps << ' ' << empty;
}

using ShadowMapManagerCullingOwnProcessTest =
    ShadowMapManagerCullingTest; // a warning appears once in the process

TEST_F(ShadowMapManagerCullingOwnProcessTest, WithoutAKnownSceneOrAFiniteViewNothingIsFitted)
{
    Culling culling;
    culling.setupCameras(&_view, nullptr);
    culling.setupCameras(nullptr, &_projection);
    Light light;
    light.setCSMLevels(4);
    bool changed = false;
    Culling::ProcessCSMData csm;
    for (const bool isCameraKnown : {false, true}) {
        culling.setupCameras(&_view, isCameraKnown ? &_projection : nullptr);
        culling.setupPost();
        EXPECT_FALSE(culling.processLightDirectional(_data, _data.projectorInfos[0], &light, changed));
        EXPECT_FALSE(culling.processLightPoint(_data, _data.projectorInfos[0], &light, changed));
        culling.setupLightCSMData(&light, csm);
        EXPECT_FALSE(csm.enabled);
        EXPECT_EQ(isCameraKnown ? Culling::getWorldFrustrumPoints(_view, _projection) : QVector<QVector3D>(),
                  culling.getSceneCameraFrustrumPointsCSM(0, csm, {})); // all that is known counts as seen
    }
    EXPECT_FALSE(changed);
    EXPECT_EQ(0, _data.projectorInfos[0].count);

    light.setCSMLevels(1);
    light.setSpotCutoff(0.5f);
    EXPECT_FALSE(process({&light}, Box({-1, 0, -3}, {1, 0, -2}))); // the light sees the scene edge-on

    light.setType(Light::eDirectional);
    _projection.setToIdentity();
    _projection.perspective(60, 1, 1e-3f, 1e5f); // the far plane rounds to infinity
    for (int frame = 0; frame < 2; ++frame) {
        EXPECT_FALSE(process({&light}, Box({-1, -1, -1}, {1, 1, 1})));
    }
    EXPECT_MESSAGES(
        "warning [ShadowMapManagerCulling.cpp:#] The camera's frustum is not finite (a far plane at "
        "infinity?): directional and point lights cast no shadows");
}

TEST_F(ShadowMapManagerCullingTest, LightsStopAtTheEndOfTheTable)
{
    Light sun;
    sun.setType(Light::eDirectional);
    sun.setCSMLevels(40);
    Light lamp;
    lamp.setCSMLevels(4);
    const Box scene({-9, -9, -9}, {9, 9, 9});
    for (const std::vector<Light *> &lights :
         {std::vector<Light *>{&sun, &lamp}, {&lamp, &sun, &lamp}, {&lamp, &lamp, &lamp}}) {
        EXPECT_TRUE(process(lights, scene));
        EXPECT_FALSE(process(lights, scene)); // nothing changed
        EXPECT_EQ(32, _data.transformCount);
        EXPECT_EQ(32, _data.transforms.size());
        const auto &last = _data.projectorInfos[int(lights.size()) - 1];
        EXPECT_EQ(32, last.index + last.count);
    }
    // Nor does a light try countless empty cascades: what is seen here begins far after the first one.
    for (Light *light : {&sun, &lamp}) {
        light->setCSMLevels(std::numeric_limits<int>::max());
        EXPECT_FALSE(process({light}, Box({12, -1, -100}, {13, 1, 9})));
    }
}
