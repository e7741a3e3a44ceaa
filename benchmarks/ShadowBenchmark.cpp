// The work of the shadow map manager in a frame: processLights() for a sun with four cascades, for eight point lights with
// six faces, and for both without movement.
//
// Held constant: a scene of 40 x 10 x 40 units, of which a perspective camera at its centre sees a part. In rows with
// movement the camera turns back and forth by two degrees. Each row alternates with only the polygon clips that the lights
// need, on prepared planes, loops and boxes: "bare" is their time, "ratio" the time of processLights() divided by it, as
// medians of the CPU time of the thread; "allocations" and "bare_allocations" are those of one run.

#include "support/AllocationCounter.h"
#include "support/InTurn.h"

#include <ZelGL/PlaneClipper.h>
#include <ZelGL/ShadowMapManagerCulling.h>

#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

using namespace Orvane::Zel;

namespace {

using Light = ShadowMapManager::Light;
using RenderData = ShadowMapManager::RenderData;
using Culling = ShadowMapManagerCulling;

const QPair<QVector3D, QVector3D> kScene({-20, -2, -20}, {20, 8, 20});

void check(bool good, const char *what)
{
    if (!good) {
        std::fprintf(stderr, "wrong result: %s\n", what);
        std::exit(EXIT_FAILURE);
    }
}

QVector<QVector3D> mapped(QVector<QVector3D> points, const QMatrix4x4 &matrix)
{
    for (QVector3D &point : points) {
        point = matrix.map(point);
    }
    return points;
}

/// The planes of a rotated box by its eight corners, in the order of Bounds.
QVector<Plane> planesOf(const QVector<QVector3D> &corners)
{
    static constexpr int kSides[6][3] = {{0, 2, 1}, {4, 5, 6}, {0, 4, 2}, {2, 6, 3}, {1, 3, 5}, {0, 1, 4}};
    QVector<Plane> planes;
    for (const auto &side : kSides) {
        planes += Plane(corners[side[0]], corners[side[1]], corners[side[2]]);
    }
    return planes;
}

/// The clip of a box by a frustum, with all its inputs.
struct BoxClip
{
    Bounds box;
    QVector<Plane> planes;
    QVector<QVector3D> points;

    QVector<QVector3D> run() const { return box.frustrumClipped(planes, points, {}); }
};

/// The clip of the pyramid of a light by the camera and then by the scene.
struct PyramidClip
{
    ClipperVolume camera;
    ClipperVolume pyramid;
    ClipperVolume scene;

    QVector<QVector3D> run() const
    {
        const ClipperVolume seen = PlaneClipper::clip(camera, pyramid);
        const QVector<QVector3D> unclipped = PlaneClipper::loopsToPoints(seen.loops);
        benchmark::DoNotOptimize(unclipped.constData());
        return PlaneClipper::loopsToPoints(PlaneClipper::clip(seen, scene).loops);
    }
};

/// A position of the camera, and the clips that the lights need for it.
class View
{
public:
    explicit View(float degrees)
    {
        _projection.perspective(30, 1.6f, 0.1f, 100);
        _view.rotate(degrees, 0, 1, 0);
        _view.translate(2, -2, -8);
        _culling.setupCameras(&_view, &_projection);
        _culling.setupScene(&kScene);
        _culling.setupPost();
        _planes = Culling::getWorldFrustrumPlanes(_view, _projection);
        _boxClips.push_back({_scene, _planes, Culling::getWorldFrustrumPoints(_view, _projection)});
    }

    /// Adds the clips of each cascade: of its slice, and of the depths before it.
    void needClipsOf(Light &sun)
    {
        Culling::ProcessCSMData csm;
        _culling.setupLightCSMData(&sun, csm);
        const QMatrix4x4 toLight = sun.transform().inverted();
        const QVector<QVector3D> volume = mapped(_scene.corners(), toLight);
        for (int level = 0; level < csm.levels; ++level) {
            const QVector<Plane> planes = slicePlanes(csm, level);
            _boxClips.push_back({csm.sceneBounds, planes, PlaneClipper::getFrustrumPoints(planes)});
            const QVector<QVector3D> slice = _boxClips.back().run();
            check(slice == _culling.getSceneCameraFrustrumPointsCSM(level, csm, {}), "a slice by hand");
            const Bounds inLight(mapped(slice, toLight));
            QVector3D lower = inLight.boxLowerBounds();
            lower.setZ(Bounds(volume).boxLowerBounds().z());
            _boxClips.push_back({Bounds(lower, inLight.boxUpperBounds()), planesOf(volume), volume});
            check(!_boxClips.back().run().isEmpty(), "depths by hand");
        }
    }

    /// Adds the clips of each face whose view contains a part of the scene.
    void needClipsOfFaces(const Light &lamp)
    {
        Culling::ProcessCSMData csm;
        const QMatrix4x4 &light = lamp.transform();
        const QVector3D axes[] = {light.column(0).toVector3D(), light.column(1).toVector3D(),
                                  light.column(2).toVector3D()};
        static constexpr int kLooks[6][3] = {{0, 1, 2}, {1, 2, 0}, {1, 5, 3},
                                             {2, 0, 1}, {2, 3, 4}, {3, 1, 5}};
        for (const auto &look : kLooks) { // axis numbers for x, y and z; 3 and more are negative axes
            QMatrix4x4 face = light;
            for (int i = 0; i < 3; ++i) {
                face.setColumn(i, QVector4D(look[i] < 3 ? axes[look[i]] : -axes[look[i] - 3], 0));
            }
            ClipperVolume camera;
            camera.planes = _planes;
            camera.loops = PlaneClipper::getFrustrumLoops(PlaneClipper::getFrustrumPoints(_planes));
            const PyramidClip clip{camera, pyramidOf(face), _scene.clippingVolume()};
            QVector<QVector3D> unclipped;
            check(
                clip.run()
                    == _culling.getSceneCameraFrustrumLightFrustrumPointsCSM(0, csm, face, -1, {}, unclipped),
                "a face by hand");
            _pyramidClips.push_back(clip);
        }
    }

    bool process(const QVariant &lights, RenderData &data) const
    {
        return ShadowMapManager::processLights(lights, data, &_view, &_projection, &kScene);
    }

    void clip() const
    {
        for (const BoxClip &clip : _boxClips) {
            benchmark::DoNotOptimize(clip.run().constData());
        }
        for (const PyramidClip &clip : _pyramidClips) {
            benchmark::DoNotOptimize(clip.run().constData());
        }
    }

private:
    QVector<Plane> slicePlanes(const Culling::ProcessCSMData &csm, int level) const
    {
        const auto at = [&](int split) {
            const float t = float(split) / float(csm.levels);
            return csm.nearPoint + t * t * csm.nearToFar;
        };
        QVector<Plane> planes = _planes;
        planes[0] = Plane(_planes[0].normal, at(level));
        planes[1] = Plane(_planes[1].normal, at(level + 1));
        return planes;
    }

    ClipperVolume pyramidOf(const QMatrix4x4 &face) const
    {
        const QVector3D apex = face.column(3).toVector3D();
        const QVector3D forward = -face.column(2).toVector3D().normalized();
        float depth = 0;
        for (const QVector3D &corner : _scene.corners()) {
            depth = std::max(depth, Plane(forward, apex).DistanceTo(corner));
        }
        depth *= 1.01f;
        const QVector3D right = face.column(0).toVector3D().normalized() * depth;
        const QVector3D up = face.column(1).toVector3D().normalized() * depth;
        const QVector3D middle = apex + forward * depth;
        const std::array<QVector3D, 4> corners = {middle + right + up, middle - right + up,
                                                  middle - right - up, middle + right - up};
        ClipperVolume pyramid;
        for (size_t i = 0; i < 4; ++i) {
            pyramid.addLoopPlane(apex, corners[i], corners[(i + 1) % 4]);
        }
        pyramid.addLoopPlane(corners[0], corners[3], corners[2], corners[1]);
        return pyramid;
    }

    QMatrix4x4 _view;
    QMatrix4x4 _projection;
    Culling _culling;
    Bounds _scene{kScene.first, kScene.second};
    QVector<Plane> _planes;
    std::vector<BoxClip> _boxClips;
    std::vector<PyramidClip> _pyramidClips;
};

/// The lights of a row, and the positions of its camera.
class Rig
{
public:
    void addSun()
    {
        QMatrix4x4 transform;
        transform.translate(0, 2, 6);
        transform.rotate(65, 1, 0.2f, 0);
        Light &sun = add(Light::eDirectional, transform);
        sun.setCSMLevels(4);
        for (View &view : _views) {
            view.needClipsOf(sun);
        }
    }

    void addLamps()
    {
        for (int i = 0; i < 8; ++i) {
            QMatrix4x4 transform;
            const float angle = float(i) * float(M_PI) / 4;
            transform.translate(12 * std::cos(angle), 3, 12 * std::sin(angle));
            transform.rotate(20 * float(i), 0.3f, 1, 0.1f);
            const Light &lamp = add(Light::ePoint, transform);
            for (View &view : _views) {
                view.needClipsOfFaces(lamp);
            }
        }
    }

    void time(benchmark::State &state, bool moving)
    {
        size_t frame = 0;
        const auto process = [&] {
            const bool changed = _views[moving ? ++frame % 2 : 0].process(_lights, _data);
            benchmark::DoNotOptimize(changed);
        };
        const auto clip = [&] { _views[moving ? ++frame % 2 : 0].clip(); };
        process();
        check(_views[0].process(_lights, _data) == moving, "whether something changed");
        check(_data.transformCount > 3 && _data.transformCount < 32, "the number of projections");
        const auto allocationsOf = [](auto &work) {
            work();
            const std::uint64_t before = allocationCount();
            work();
            work();
            return double(allocationCount() - before) / 2;
        };
        timeInTurn<ThreadClock>(state, 4, process, clip);
        if (canCountAllocations()) {
            state.counters["allocations"] = allocationsOf(process);
            state.counters["bare_allocations"] = allocationsOf(clip);
        }
        state.counters["projections"] = _data.transformCount;
    }

private:
    Light &add(Light::Type type, const QMatrix4x4 &transform)
    {
        _owned.push_back(std::make_unique<Light>());
        Light &light = *_owned.back();
        light.setType(type);
        light.setTransform(transform);
        QVariantList list = _lights.toList();
        list.append(QVariant::fromValue<QObject *>(&light));
        _lights = list;
        return light;
    }

    std::vector<std::unique_ptr<Light>> _owned;
    QVariant _lights;
    RenderData _data;
    std::array<View, 2> _views{View(0), View(2)};
};

void sunWithFourCascades(benchmark::State &state)
{
    Rig rig;
    rig.addSun();
    rig.time(state, true);
}

void eightPointLightsWithSixFaces(benchmark::State &state)
{
    Rig rig;
    rig.addLamps();
    rig.time(state, true);
}

void allOfThemWhileNothingMoves(benchmark::State &state)
{
    Rig rig;
    rig.addSun();
    rig.addLamps();
    rig.time(state, false);
}

BENCHMARK(sunWithFourCascades)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(eightPointLightsWithSixFaces)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(allOfThemWhileNothingMoves)->UseManualTime()->Unit(benchmark::kMicrosecond);

} // namespace
