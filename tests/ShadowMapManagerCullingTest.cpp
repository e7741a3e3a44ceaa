// The fit of projections: they hold all that the camera sees and nothing else, in the order of cascades and faces.

#include "support/MessageCapture.h"
#include "support/ShadowTable.h"
#include "support/Vec.h"

#include <ZelGL/ShadowMapManagerCulling.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

using namespace Orvane::Zel;

namespace {

using Light = ShadowMapManager::Light;
using RenderData = ShadowMapManager::RenderData;
using Culling = ShadowMapManagerCulling;
using Box = QPair<QVector3D, QVector3D>;

constexpr float kPi = 3.14159265f;

// The oracle represents volumes as half-spaces and finds their corners in double precision from all triples of planes: it
// shares no code with the clipper. Volumes and their projections are convex: what holds for the corners holds for all points.

/// Inside is where dot(normal, p) is at most the distance; the normal has length 1.
struct HalfSpace
{
    HalfSpace(const Vec &n, double d)
        : normal((1 / length(n)) * n)
        , distance(d / length(n))
    {
    }

    Vec normal;
    double distance;
};

using Region = std::vector<HalfSpace>;

Region operator+(Region a, const Region &b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

double farthestOutside(const Region &region, const Vec &point)
{
    double worst = -HUGE_VAL;
    for (const HalfSpace &side : region) {
        worst = std::max(worst, dot(side.normal, point) - side.distance);
    }
    return worst;
}

/// The corners of the region after every side moved outward by \a slack.
std::vector<Vec> cornersOf(const Region &region, double slack = 0)
{
    std::vector<Vec> corners;
    for (size_t i = 0; i < region.size(); ++i) {
        for (size_t j = i + 1; j < region.size(); ++j) {
            const Vec ij = cross(region[i].normal, region[j].normal);
            for (size_t k = j + 1; k < region.size(); ++k) {
                const double determinant = dot(ij, region[k].normal);
                if (std::abs(determinant) < 1e-9) {
                    continue;
                }
                const Vec corner =
                    (1 / determinant)
                    * ((region[i].distance + slack) * cross(region[j].normal, region[k].normal)
                       + (region[j].distance + slack) * cross(region[k].normal, region[i].normal)
                       + (region[k].distance + slack) * ij);
                if (farthestOutside(region, corner) < slack + 1e-8 * length(corner)) {
                    corners.push_back(corner);
                }
            }
        }
    }
    return corners;
}

enum class Filling { eEmpty, eSliver, eSolid };

/// A sliver is so thin that single precision may lose it.
Filling fillingOf(const Region &region, const std::vector<Vec> &corners, double sliver)
{
    if (corners.empty()) {
        return cornersOf(region, sliver).empty() ? Filling::eEmpty : Filling::eSliver;
    }
    const Vec centre =
        (1.0 / double(corners.size())) * std::accumulate(corners.begin(), corners.end(), Vec(0, 0, 0));
    return farthestOutside(region, centre) < -sliver ? Filling::eSolid : Filling::eSliver;
}

/// The position of a point in a map.
Vec project(const RenderData::Transform &transform, const Vec &point)
{
    const QVector4D at = matrixOf(transform) * QVector4D(point.rounded(), 1);
    return at.toVector3D() / at.w();
}

struct Range
{
    double lower = HUGE_VAL;
    double upper = -HUGE_VAL;

    void widen(double value)
    {
        lower = std::min(lower, value);
        upper = std::max(upper, value);
    }
    double size() const { return upper - lower; }
    double middle() const { return (upper + lower) / 2; }
};

struct Ranges
{
    Range x, y, z;
};

template <typename Place> Ranges rangesOf(const std::vector<Vec> &points, Place place)
{
    Ranges ranges;
    for (const Vec &point : points) {
        const auto at = place(point);
        ranges.x.widen(at.x);
        ranges.y.widen(at.y);
        ranges.z.widen(at.z);
    }
    return ranges;
}

Vec column(const QMatrix4x4 &matrix, int i)
{
    return matrix.column(i).toVector3D();
}

/// The points whose coordinate in the matrix's target space, times the sign, is at most the limit.
HalfSpace atMost(const QMatrix4x4 &toSpace, int axis, float sign, double limit)
{
    const QVector4D row = sign * toSpace.row(axis);
    return {row.toVector3D(), limit - double(row.w())};
}

Region regionOf(const Box &box)
{
    const Vec lower = box.first;
    const Vec upper = box.second;
    return {{{-1, 0, 0}, -lower.x}, {{0, -1, 0}, -lower.y}, {{0, 0, -1}, -lower.z},
            {{1, 0, 0}, upper.x},   {{0, 1, 0}, upper.y},   {{0, 0, 1}, upper.z}};
}

/// View and projection, and their frustum (Gribb and Hartmann, 2001): the near plane first, then the far plane.
struct Camera
{
    QMatrix4x4 view;
    QMatrix4x4 projection;

    Region region() const
    {
        const QMatrix4x4 m = projection * view;
        Region result;
        for (const int row : {2, 0, 1}) {
            for (const float sign : {1.0f, -1.0f}) { // w + sign * row >= 0
                const QVector4D side = -m.row(3) - sign * m.row(row);
                result.push_back({side.toVector3D(), -double(side.w())});
            }
        }
        return result;
    }
};

/// A random scene, camera and light.
class Trial
{
public:
    explicit Trial(unsigned int seed)
        : _random(seed)
    {
        scale = std::pow(10.0f, number(-4, 4));
        const QVector3D middle = 20 * scale * direction();
        const QVector3D half = scale * QVector3D(size(), size(), size());
        scene = Box(middle - half, middle + half);
        reach = half.length();
        const QVector3D eye = middle + number(0.1f, 2.5f) * reach * direction();
        camera.view.lookAt(eye / scale, inScene() / scale, direction()); // lookAt() fails on tiny lengths
        camera.view.setColumn(3, QVector4D(scale * camera.view.column(3).toVector3D(), 1));
        const float farthest = number(1, 4) * reach;
        if (oneIn(4)) {
            camera.projection.ortho(-reach, number(0, 1) * reach, -reach / 2, number(0, 1) * reach,
                                    0.01f * reach, farthest);
        } else {
            camera.projection.perspective(number(25, 100), number(0.6f, 2), number(0.01f, 0.1f) * reach,
                                          farthest);
        }
        if (oneIn(8)) {
            camera.view.scale(1, 1, -1); // mirrors the world
        }
    }

    float number(float low, float high) { return std::uniform_real_distribution<float>(low, high)(_random); }
    bool oneIn(unsigned int count) { return _random() % count == 0; }
    QVector3D direction()
    {
        const float z = number(-1, 1);
        const float angle = number(0, 2 * kPi);
        return {std::sqrt(1 - z * z) * std::cos(angle), std::sqrt(1 - z * z) * std::sin(angle), z};
    }
    QVector3D inScene()
    {
        const QVector3D part(number(0, 1), number(0, 1), number(0, 1));
        return scene.first + part * (scene.second - scene.first);
    }

    /// The axes have random lengths, or the same if even. One transform in three mirrors.
    QMatrix4x4 lightTransform(const QVector3D &origin, bool even)
    {
        QMatrix4x4 transform;
        transform.translate(origin);
        transform.rotate(number(0, 360), direction());
        const float size = scale * number(0.5f, 2);
        const auto axis = [&] { return even ? size : scale * number(0.5f, 2); };
        transform.scale(axis(), axis(), oneIn(3) ? -axis() : axis());
        return transform;
    }

    /// A random point of the convex volume with these corners.
    Vec within(const std::vector<Vec> &corners)
    {
        Vec sum(0, 0, 0);
        double weights = 0;
        for (const Vec &corner : corners) {
            const double weight = -std::log(double(number(1e-6f, 1)));
            sum = sum + weight * corner;
            weights += weight;
        }
        return (1 / weights) * sum;
    }

    float scale; ///< of all lengths
    Box scene;
    float reach; ///< half of the scene's diagonal
    Camera camera;

private:
    float size() { return 10 * std::pow(0.05f, number(0, 1)); }

    std::mt19937 _random;
};

/// The depths, from the near plane on, at which the camera may see the scene.
Range seenDepthsOf(const Trial &trial)
{
    const Region frustum = trial.camera.region();
    const HalfSpace &nearSide = frustum[0];
    Range depths;
    for (const QVector3D &corner : Bounds(trial.scene.first, trial.scene.second).corners()) {
        depths.widen(nearSide.distance - dot(nearSide.normal, corner));
    }
    depths.lower = std::max(depths.lower, 0.0);
    depths.upper = std::min(depths.upper, nearSide.distance + frustum[1].distance);
    return depths;
}

/// The two planes that bound a cascade: quadratic splits of these depths.
Region sliceOf(const Trial &trial, int level, int levels)
{
    const HalfSpace nearSide = trial.camera.region()[0];
    const Range depths = seenDepthsOf(trial);
    const auto depthOf = [&](int split) {
        return depths.lower + depths.size() * split * split / (levels * levels);
    };
    return {{nearSide.normal, nearSide.distance - depthOf(level)},
            {-1.0 * nearSide.normal, depthOf(level + 1) - nearSide.distance}};
}

/// A null pointer means unknown.
bool process(const std::vector<Light *> &lights, RenderData &data, const Camera *camera, const Box *scene)
{
    return ShadowMapManager::processLights(listOf(lights), data, camera ? &camera->view : nullptr,
                                           camera ? &camera->projection : nullptr, scene);
}

double median(std::vector<double> values)
{
    EXPECT_FALSE(values.empty());
    std::nth_element(values.begin(), values.begin() + std::ptrdiff_t(values.size() / 2), values.end());
    return values[values.size() / 2];
}

/// The part of the map, a square of side 2, that the convex hull of the points covers.
double areaUsed(const std::vector<Vec> &corners, const RenderData::Transform &transform)
{
    std::vector<Vec> places;
    for (const Vec &corner : corners) {
        places.push_back(project(transform, corner));
    }
    const auto farthest = [&](int degree) {
        const double x = std::cos(degree * double(kPi) / 180);
        const double y = std::sin(degree * double(kPi) / 180);
        const auto isCloser = [&](const Vec &a, const Vec &b) {
            return x * (a.x - b.x) + y * (a.y - b.y) < 0;
        };
        return *std::max_element(places.begin(), places.end(), isCloser);
    };
    double twice = 0;
    for (int degree = 0; degree < 360; ++degree) {
        const Vec from = farthest(degree);
        const Vec to = farthest(degree + 1);
        twice += from.x * to.y - to.x * from.y;
    }
    return twice / 2 / 4;
}

bool isInside(const Vec &at)
{
    return std::abs(at.x) <= 1 && std::abs(at.y) <= 1 && at.z >= 0 && at.z <= 1;
}

constexpr double kTolerance = 2e-3; ///< of coordinates in a map: half a texel of 256

class ShadowMapManagerCullingTest : public MessageTest
{
protected:
    /// Calls judge with each solid region and its projection. Projections are in the order of the regions.
    template <typename RegionOf, typename Judge>
    void judgeEach(const Trial &trial, const RenderData &data, int regions, RegionOf regionOf, Judge judge)
    {
        int projector = 0;
        for (int i = 0; i < regions; ++i) {
            const Region region = regionOf(i);
            const std::vector<Vec> corners = cornersOf(region);
            switch (fillingOf(region, corners, 2e-3 * double(trial.reach))) {
            case Filling::eEmpty:
                ++_empty;
                break;
            case Filling::eSliver:
                return; // it may have a projection, or none
            case Filling::eSolid:
                ++_solid;
                ASSERT_LT(projector, data.transformCount);
                judge(i, corners, data.transforms[projector++]);
            }
        }
        EXPECT_EQ(projector, data.transformCount);
        EXPECT_EQ(projector, data.projectorInfos[0].count);
    }

    void recordPercent(const char *what, double part)
    {
        RecordProperty(what, QString::number(100 * part, 'f', 1).toStdString());
    }

    int _solid = 0;
    int _empty = 0;
};

} // namespace

TEST_F(ShadowMapManagerCullingTest, DirectionalProjectionsHoldWhatIsSeenAndWhatStandsBeforeItAndNoMore)
{
    std::vector<double> used;
    std::vector<double> usedOfFallback;
    for (unsigned int seed = 0; seed < 400 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        Trial trial(seed);
        const bool withCamera = !trial.oneIn(10);
        const bool isSplit =
            withCamera && seenDepthsOf(trial).size() > 0; // otherwise the ends of cascades are arbitrary
        const int levels = isSplit ? std::max(1, int(seed % 6)) : 1;
        Light light;
        light.setType(Light::eDirectional);
        light.setCSMLevels(levels);
        light.setTransform(trial.lightTransform(trial.inScene(), false));
        const QMatrix4x4 toLight = light.transform().inverted();
        RenderData data;
        process({&light}, data, withCamera ? &trial.camera : nullptr, &trial.scene);
        RenderData fallback;
        process({&light}, fallback, nullptr, nullptr);

        const Region scene = regionOf(trial.scene);
        const Region seen = withCamera ? scene + trial.camera.region() : scene;
        const auto sliceAt = [&](int level) {
            return levels > 1 ? seen + sliceOf(trial, level, levels) : seen;
        };
        judgeEach(trial, data, levels, sliceAt, [&](int, const auto &corners, const auto &transform) {
            const auto at = [&](const Vec &p) { return project(transform, p); };
            const auto atFallback = [&](const Vec &p) { return project(fallback.transforms[0], p); };
            const Ranges slice =
                rangesOf(corners, [&](const Vec &p) { return Vec(toLight.map(p.rounded())); });
            const Ranges map = rangesOf(corners, at);

            // The slice fills the map, except for the margin.
            EXPECT_NEAR(1.98, map.x.size(), kTolerance);
            EXPECT_NEAR(1.98, map.y.size(), kTolerance);
            // It is inside the map if the light's origin is within its width. Otherwise the side next to the origin is
            // outside by a hundredth of the distance.
            const auto beyond = [](const Range &range) {
                return std::max({0.0, range.lower, -range.upper}) / range.size();
            };
            const auto reachOf = [](const Range &range) { return std::max(range.upper, -range.lower); };
            EXPECT_LT(reachOf(map.x), 1 + 0.02 * beyond(slice.x) + kTolerance);
            EXPECT_LT(reachOf(map.y), 1 + 0.02 * beyond(slice.y) + kTolerance);

            // Depths begin at the first point of the scene in the path of the light, and end at the last that is seen.
            const Region inTheWay =
                scene
                + Region{atMost(toLight, 2, 1, slice.z.upper), atMost(toLight, 0, 1, slice.x.upper),
                         atMost(toLight, 0, -1, -slice.x.lower), atMost(toLight, 1, 1, slice.y.upper),
                         atMost(toLight, 1, -1, -slice.y.lower)};
            EXPECT_NEAR(1, map.z.upper, kTolerance);
            EXPECT_NEAR(0, rangesOf(cornersOf(inTheWay), at).z.lower, kTolerance);
            EXPECT_GT(map.z.lower, -kTolerance);

            used.push_back(areaUsed(corners, transform));
            if (std::all_of(corners.begin(), corners.end(),
                            [&](const Vec &corner) { return isInside(atFallback(corner)); })) {
                usedOfFallback.push_back(areaUsed(corners, fallback.transforms[0]));
            }
        });
    }
    EXPECT_GT(_solid, 500);
    EXPECT_GT(_empty, 5);
    EXPECT_GT(median(used), 0.5);
    EXPECT_GT(median(used), 4 * median(usedOfFallback));
    recordPercent("medianMapAreaUsed", median(used));
    recordPercent("medianMapAreaUsedOfFallbackThatHoldsAll", median(usedOfFallback));
    recordPercent("fallbackHoldsAll", double(usedOfFallback.size()) / _solid);
}

TEST_F(ShadowMapManagerCullingTest, TheSideNextToADistantOriginIsLostByAHundredthOfTheDistance)
{
    const Box scene({-1, -1, -1}, {1, 1, 1});
    Trial trial(1);
    for (const double widths : {0.0, 1.0, 5.0, 20.0}) { // from the side of the scene to the light's origin
        Light light;
        light.setType(Light::eDirectional);
        QMatrix4x4 transform;
        transform.translate(float(1 + 2 * widths), 0, 0);
        light.setTransform(transform);
        RenderData data;
        ASSERT_TRUE(process({&light}, data, nullptr, &scene));
        int lost = 0;
        for (int i = 0; i < 10000; ++i) {
            const Vec point(double(trial.number(-1, 1)), double(trial.number(-1, 1)),
                            double(trial.number(-1, 1)));
            lost += isInside(project(data.transforms[0], point)) ? 0 : 1;
        }
        EXPECT_NEAR(widths < 1 ? 0 : widths / 99 - 0.005, lost / 1e4, 0.01)
            << widths; // minus half of the margin
        recordPercent(qPrintable(QStringLiteral("lostAt%1Widths").arg(widths)), lost / 1e4);
    }
}

TEST_F(ShadowMapManagerCullingTest, FarFromTheOriginNothingSeenIsInNoCascade)
{
    Trial trial(1);
    int lost = 0;
    for (int i = 0; i < 2000; ++i) {
        const QVector3D eye = 1e4f * trial.direction();
        const Box scene(eye - QVector3D(10, 10, 10), eye + QVector3D(10, 10, 10));
        Camera camera;
        camera.view.lookAt(eye, eye + 10 * trial.direction(), trial.direction());
        camera.projection.perspective(40, 1, 0.1f, 40);
        Light sun;
        sun.setType(Light::eDirectional);
        sun.setCSMLevels(4);
        sun.setTransform(trial.lightTransform(eye, true));
        RenderData data;
        process({&sun}, data, &camera, &scene);
        const QVector3D inView(trial.number(-0.35f, 0.35f), trial.number(-0.35f, 0.35f), -1);
        const QVector3D point = eye + trial.number(0.12f, 8) * camera.view.transposed().mapVector(inView);
        const auto first = data.transforms.begin();
        lost += std::none_of(first, first + data.transformCount, [&](const auto &transform) {
            const Vec at = project(transform, point);
            return std::abs(at.x) < 1 && std::abs(at.y) < 1;
        });
    }
    EXPECT_EQ(0, lost);
}

namespace {

/// The pyramid of a face of a point light, from the light's axes.
struct Face
{
    Face(const QMatrix4x4 &light, int number, double tangent)
        : apex(column(light, 3))
    {
        // The axis along which it looks, and the sign.
        static constexpr std::array<std::pair<int, double>, 6> kLooks = {
            {{2, -1}, {0, -1}, {0, 1}, {1, -1}, {1, 1}, {2, 1}}};
        const auto [axis, sign] = kLooks[size_t(number)];
        const Vec along = column(light, axis);
        forward = (sign / length(along)) * along;
        unit = length(along);
        for (const int side : {(axis + 1) % 3, (axis + 2) % 3}) {
            const Vec across = (1 / length(column(light, side))) * column(light, side);
            for (const double way : {1.0, -1.0}) {
                const Vec normal = way * across - tangent * forward;
                pyramid.push_back({normal, dot(normal, apex)});
            }
        }
    }

    /// In units of the length of the light's axis.
    double depth(const Vec &point) const { return dot(forward, point - apex) / unit; }
    HalfSpace behind(double least) const { return {-1.0 * forward, -least * unit - dot(forward, apex)}; }

    Vec apex;
    Vec forward{0, 0, 0};
    double unit;
    Region pyramid;
};

Range depthsOf(const std::vector<Vec> &corners, const Face &face)
{
    Range depths;
    for (const Vec &corner : corners) {
        depths.widen(face.depth(corner));
    }
    return depths;
}

} // namespace

TEST_F(ShadowMapManagerCullingTest, FacesOfPointLightsHoldWhatIsSeenFromTheirNearPlaneOn)
{
    int occluders = 0;
    int lostOccluders = 0;
    std::vector<double> used;
    for (unsigned int seed = 0; seed < 250 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        Trial trial(seed);
        const bool withCamera = !trial.oneIn(10);
        const int levels = withCamera && trial.oneIn(3) ? 3 : 1;
        const float cutoff = std::array<float, 4>{-1.0f, trial.number(0.2f, 0.78f), 1.5f, 3.0f}[seed % 4];
        const int faces = std::array<int, 4>{6, 1, 5, 6}[seed % 4];
        Light light;
        light.setCSMLevels(levels);
        light.setSpotCutoff(cutoff);
        const bool even = !trial.oneIn(4);
        const QVector3D place = trial.inScene() + trial.number(0, 1) * trial.reach * trial.direction();
        QMatrix4x4 placement = trial.lightTransform(place, even);
        placement.scale(0.01f); // a light may have its own unit of length
        light.setTransform(placement);
        RenderData data;
        process({&light}, data, withCamera ? &trial.camera : nullptr, &trial.scene);

        const Region scene = regionOf(trial.scene);
        const Region camera = withCamera ? trial.camera.region() : Region();
        const auto faceAt = [&](int i) {
            return Face(light.transform(), i / levels, faces == 1 ? std::tan(double(cutoff)) : 1);
        };
        const auto litAt = [&](int i) {
            return faceAt(i).pyramid + camera + (levels > 1 ? sliceOf(trial, i % levels, levels) : Region());
        };
        const auto judge = [&](int i, std::vector<Vec> corners, const RenderData::Transform &transform) {
            const auto at = [&](const Vec &p) { return project(transform, p); };
            const Face face = faceAt(i);
            const Region lit = litAt(i);
            const double farDepth = depthsOf(corners, face).upper;
            const double seenFrom = withCamera ? depthsOf(cornersOf(lit), face).lower : 0;
            const double nearDepth = std::max({seenFrom, farDepth / 100, 1e-5});
            const std::vector<Vec> held = cornersOf(scene + lit + Region{face.behind(nearDepth)});
            EXPECT_TRUE(std::all_of(held.begin(), held.end(), [&](const Vec &p) { return isInside(at(p)); }));

            // And nothing else, except for points too close to the light to have a direction. With uneven axes the
            // pyramid is larger than the square from which the fit starts.
            const auto isClose = [&](const Vec &p) { return face.depth(p) < 1e-3 * farDepth; };
            corners.erase(std::remove_if(corners.begin(), corners.end(), isClose), corners.end());
            const Ranges all = rangesOf(corners, at);
            if (even) {
                EXPECT_NEAR(1.98, all.x.size(), kTolerance);
                EXPECT_NEAR(1.98, all.y.size(), kTolerance);
                EXPECT_NEAR(0, all.x.middle(), kTolerance);
                EXPECT_NEAR(0, all.y.middle(), kTolerance);
            }
            used.push_back(areaUsed(corners, transform));

            // Occluders beyond the near plane are in the map, at the same position as the point that they shadow.
            for (int k = 0; k < 20; ++k) {
                const Vec seen = trial.within(held);
                const double part = double(trial.number(0.01f, 1));
                const Vec occluder = face.apex + part * (seen - face.apex);
                if (farthestOutside(scene, occluder) > 0) {
                    continue;
                }
                ++occluders;
                if (face.depth(occluder) >= nearDepth) {
                    EXPECT_TRUE(isInside(at(occluder))) << part;
                    EXPECT_NEAR(at(seen).x, at(occluder).x, kTolerance);
                    EXPECT_NEAR(at(seen).y, at(occluder).y, kTolerance);
                } else {
                    lostOccluders += isInside(at(occluder)) ? 0 : 1;
                }
            }
        };
        judgeEach(
            trial, data, faces * levels, [&](int i) { return scene + litAt(i); }, judge);
    }
    EXPECT_GT(_solid, 300);
    EXPECT_GT(_empty, 50);
    recordPercent("medianMapAreaUsed", median(used));
    recordPercent("occludersBeforeTheNearPlane", double(lostOccluders) / occluders);
}

namespace {

/// Sees z from 10 to -10, and 20 units in width and height.
Camera boxCamera()
{
    Camera camera;
    camera.view.translate(0, 0, -11);
    camera.projection.ortho(-10, 10, -10, 10, 1, 21);
    return camera;
}

} // namespace

TEST_F(ShadowMapManagerCullingTest, WithoutAKnownSceneOrAFiniteViewNothingIsFitted)
{
    const Camera camera = boxCamera();
    Culling onlyCamera;
    onlyCamera.setupCameras(&camera.view, &camera.projection);
    onlyCamera.setupPost();
    Culling nothing;
    nothing.setupCameras(&camera.view, nullptr);
    nothing.setupCameras(nullptr, &camera.projection);
    nothing.setupPost();
    Light light;
    RenderData data;
    bool changed = false;
    for (const Culling *culling : {&onlyCamera, &nothing}) {
        EXPECT_FALSE(culling->processLightDirectional(data, data.projectorInfos[0], &light, changed));
        EXPECT_FALSE(culling->processLightPoint(data, data.projectorInfos[0], &light, changed));
    }
    EXPECT_FALSE(changed);
    EXPECT_EQ(0, data.projectorInfos[0].count);

    // All that is known then counts as seen.
    Culling::ProcessCSMData csm;
    EXPECT_EQ(Culling::getWorldFrustrumPoints(camera.view, camera.projection),
              onlyCamera.getSceneCameraFrustrumPointsCSM(0, csm, {}));
    const Box scene({-1, -1, -1}, {1, 1, 1});
    Culling &onlyScene = nothing;
    onlyScene.setupScene(&scene);
    onlyScene.setupPost();
    light.setCSMLevels(4);
    onlyScene.setupLightCSMData(&light, csm);
    EXPECT_FALSE(csm.enabled); // cascades need a camera
    EXPECT_EQ(1, csm.levels);
    for (const bool enabled : {false, true}) {
        csm.enabled = enabled;
        csm.sceneBounds = Bounds(scene.first, scene.second);
        EXPECT_EQ(8, onlyScene.getSceneCameraFrustrumPointsCSM(0, csm, {}).size());
    }
    light.setType(Light::eDirectional);
    Camera endless;
    endless.projection.perspective(60, 1, 1e-3f, 1e5f); // the far plane rounds to infinity
    EXPECT_FALSE(process({&light}, data, &endless, &scene));
    EXPECT_FALSE(process({&light}, data, &endless, &scene));
    EXPECT_MESSAGES(
        "warning [ShadowMapManagerCulling.cpp:#] The camera's frustum is not finite (a far plane at "
        "infinity?): directional and point lights cast no shadows");
}

TEST_F(ShadowMapManagerCullingTest, DirectionalProjectionsShowTheSliceUprightAndMirroredOnesDownward)
{
    const Box scene({-2, -4, 2}, {2, 4, 10});
    for (const float hand : {1.0f, -1.0f}) {
        Light light;
        light.setType(Light::eDirectional);
        QMatrix4x4 transform;
        transform.scale(1, 1, hand);
        light.setTransform(transform);
        RenderData data;
        ASSERT_TRUE(process({&light}, data, nullptr, &scene));
        ASSERT_EQ(1, data.projectorInfos[0].count);
        // x by 2 / 4 and y by 2 / 8, both minus one hundredth; depth along z, whichever way the light shines.
        const Vec at = project(data.transforms[0], Vec(2, 4, hand > 0 ? 10 : 2));
        EXPECT_NEAR(0.99, at.x, 1e-6);
        EXPECT_NEAR(hand > 0 ? -0.99 : 0.99, at.y, 1e-6);
        EXPECT_NEAR(1, at.z, 1e-6);
        EXPECT_NEAR(0, project(data.transforms[0], Vec(0, 0, hand > 0 ? 2 : 10)).z, 1e-6);
        EXPECT_EQ(0.0005f, data.blurInfos[0].blur);
    }
}

TEST_F(ShadowMapManagerCullingTest, ConesChooseTheFacesOfAPointLight)
{
    const Box scene({-2, -2, -2}, {2, 2, 2});
    Light light;
    const std::pair<float, int> kFaces[] = {{-1.0f, 6}, {0.0f, 6},       {0.5f, 1}, {0.7853982f, 1},
                                            {0.79f, 5}, {2.3561945f, 5}, {2.4f, 6}, {3.0f, 6}};
    for (const auto &[cutoff, faces] : kFaces) {
        light.setSpotCutoff(cutoff);
        RenderData data;
        EXPECT_TRUE(process({&light}, data, nullptr, &scene));
        EXPECT_EQ(faces, data.projectorInfos[0].count) << cutoff;
    }
}

TEST_F(ShadowMapManagerCullingTest, LightsStopAtTheEndOfTheTable)
{
    const Box scene({-9, -9, -9}, {9, 9, 9});
    const Camera camera = boxCamera();
    Light sun;
    sun.setType(Light::eDirectional);
    sun.setCSMLevels(40);
    Light lamp;
    lamp.setCSMLevels(4);
    Light next;
    RenderData data;
    const auto infos = [&](const std::vector<Light *> &lights) {
        EXPECT_TRUE(process(lights, data, &camera, &scene));
        EXPECT_FALSE(process(lights, data, &camera, &scene)); // nothing changed
        EXPECT_EQ(32, data.transformCount);
        EXPECT_EQ(32, data.transforms.size());
        return data.projectorInfos;
    };
    EXPECT_EQ(32, infos({&sun, &next})[0].count);
    EXPECT_EQ(0, data.projectorInfos[1].count);
    EXPECT_EQ(32, data.projectorInfos[1].index);
    const auto shared = infos({&lamp, &sun, &next});
    EXPECT_EQ(32 - shared[0].count, shared[1].count);
    EXPECT_EQ(0, shared[2].count);
    infos({&lamp, &lamp, &lamp});

    // Nor does a light try countless empty cascades: what is seen here begins far after the first one.
    const Box aside({12, -1, -100}, {13, 1, 9});
    Camera narrow = boxCamera();
    narrow.projection.setToIdentity();
    narrow.projection.perspective(20, 1, 1, 200);
    for (Light *light : {&sun, &lamp}) {
        light->setCSMLevels(std::numeric_limits<int>::max());
        EXPECT_FALSE(process({light}, data, &narrow, &aside));
    }
}
