#include "support/AllocationCount.h"
#include "support/MessageCapture.h"
#include "support/Vec.h"

#include <ZelGL/Bounds.h>
#include <ZelGL/PlaneClipper.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <random>

using namespace Orvane::Zel;

namespace {

using Loop = QVector<QVector3D>;
using Loops = QVector<Loop>;

/// The largest of the distances to the planes, in double precision and without the clipper's code.
double farthestOutside(const QVector<Plane> &planes, const QVector3D &point)
{
    double worst = -HUGE_VAL;
    for (const Plane &plane : planes) {
        worst = std::max(worst, dot(Vec(plane.normal), Vec(point)) - double(plane.distance));
    }
    return worst;
}

/// A vector along the normal whose length is twice the area.
Vec areaVector(const Loop &loop)
{
    Vec sum(0, 0, 0);
    for (int i = 1; i + 1 < loop.size(); ++i) {
        sum = sum + cross(Vec(loop[i]) - loop[0], Vec(loop[i + 1]) - loop[0]);
    }
    return sum;
}

double area(const Loops &loops)
{
    return std::accumulate(loops.begin(), loops.end(), 0.0,
                           [](double sum, const Loop &loop) { return sum + length(areaVector(loop)) / 2; });
}

/// The volume by the divergence theorem. The faces are counter-clockwise as seen from outside.
double volume(const Loops &loops)
{
    return std::accumulate(loops.begin(), loops.end(), 0.0, [](double sum, const Loop &loop) {
        return loop.isEmpty() ? sum : sum + dot(loop[0], areaVector(loop)) / 6;
    });
}

/// How many times the shell surrounds the point, from solid angles (van Oosterom and Strackee, 1983).
double windingNumber(const Loops &loops, const Vec &point)
{
    double sum = 0;
    for (const Loop &loop : loops) {
        for (int i = 1; i + 1 < loop.size(); ++i) {
            const Vec a = loop[0] - point;
            const Vec b = loop[i] - point;
            const Vec c = loop[i + 1] - point;
            sum += 2
                   * std::atan2(dot(a, cross(b, c)), length(a) * length(b) * length(c) + dot(a, b) * length(c)
                                                         + dot(b, c) * length(a) + dot(c, a) * length(b));
        }
    }
    return sum / (4 * M_PI);
}

/// The length of all edges that no other face uses in the opposite direction.
float openEdgeLength(const Loops &loops, float scale = 1)
{
    Loop vertices;
    const auto vertex = [&](const QVector3D &point) {
        const auto near = [&](const QVector3D &v) { return (v - point).length() < 1e-4f * scale; };
        const int found = int(std::find_if(vertices.begin(), vertices.end(), near) - vertices.begin());
        if (found == vertices.size()) {
            vertices += point;
        }
        return found;
    };
    std::map<std::pair<int, int>, int> uses;
    for (const Loop &loop : loops) {
        for (int i = 0; i < loop.size(); ++i) {
            const int from = vertex(loop[i]);
            const int to = vertex(loop[(i + 1) % loop.size()]);
            uses[std::minmax({from, to})] += from < to ? 1 : -1;
        }
    }
    float open = 0;
    for (const auto &[edge, ways] : uses) {
        open += float(std::abs(ways)) * (vertices[edge.first] - vertices[edge.second]).length();
    }
    return open;
}

/// The planes of a transformed box from its eight corners, both in the orders of Bounds.
QVector<Plane> planesOf(const Loop &corners)
{
    const int sides[6][3] = {{0, 2, 1}, {4, 5, 6}, {0, 4, 2}, {2, 6, 3}, {1, 3, 5}, {0, 1, 4}};
    QVector<Plane> planes;
    for (const auto &side : sides) {
        planes += Plane(corners[side[0]], corners[side[1]], corners[side[2]]);
    }
    return planes;
}

class Random
{
public:
    explicit Random(unsigned int seed)
        : _engine(seed)
    {
        scale = std::pow(10.0f, number(-4, 4));
    }

    float number(float low, float high) { return std::uniform_real_distribution<float>(low, high)(_engine); }
    int integer(int low, int high) { return std::uniform_int_distribution<int>(low, high)(_engine); }
    QVector3D point(float reach)
    {
        return {number(-reach, reach), number(-reach, reach), number(-reach, reach)};
    }
    Plane plane(float reach)
    {
        const QVector3D normal = point(1).normalized();
        return Plane(normal.isNull() ? QVector3D(1, 0, 0) : normal, number(-reach, reach));
    }

    /// The corners of a transformed box, wider or narrower at its top.
    Loop corners()
    {
        const float width = number(0.1f, 1.3f);
        QMatrix4x4 map;
        map.translate(point(0.5f));
        map.rotate(number(0, 360), point(1));
        map.scale(number(0.4f, 1.5f), number(0.4f, 1.5f), number(0.4f, 1.5f));
        Loop result = Bounds({-0.7f, -0.7f, -0.7f}, {0.7f, 0.7f, 0.7f}).corners();
        for (QVector3D &corner : result) {
            const float widening = corner.z() > 0 ? width : 1;
            corner = scale * (map * (corner * QVector3D(widening, widening, 1)));
        }
        return result;
    }

    ClipperVolume volume()
    {
        const Loop around = corners();
        ClipperVolume result{PlaneClipper::getFrustrumLoops(around), planesOf(around)};
        for (Loop &loop : result.loops) { // getFrustrumLoops() returns clockwise ones
            std::reverse(loop.begin(), loop.end());
        }
        return result;
    }

    float scale; ///< of corners and volumes

private:
    std::mt19937 _engine;
};

/// A shell is correct if it is closed, has no corner outside, and surrounds each point inside once and no other point.
void expectShellOf(const ClipperVolume &shell, const QVector<Plane> &planes, Random &random)
{
    EXPECT_LT(openEdgeLength(shell.loops, random.scale), 2e-3f * random.scale);
    for (const QVector3D &corner : PlaneClipper::loopsToPoints(shell.loops)) {
        EXPECT_LT(farthestOutside(planes, corner), 1e-5 * double(random.scale));
    }
    for (int i = 0; i < 60; ++i) {
        const QVector3D point = random.point(1.5f * random.scale);
        const double outside = farthestOutside(planes, point);
        if (std::abs(outside) > 1e-3 * double(random.scale)) {
            EXPECT_NEAR(outside < 0 ? 1 : 0, windingNumber(shell.loops, point), 1e-2f);
        }
    }
}

const Loop kSquare = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};

} // namespace

using PlaneClipperTest = MessageTest;

TEST_F(PlaneClipperTest, WhatLiesInsideComesBackAsItIsAndUncopied)
{
    const Bounds box({-1, -2, -3}, {1, 2, 3});
    const Loops loops = PlaneClipper::getFrustrumLoops(box.corners());
    const Loops clipped = PlaneClipper::clip(box.planes(), loops); // its own planes touch each corner
    ASSERT_EQ(loops, clipped);
    for (int i = 0; i < loops.size(); ++i) {
        EXPECT_EQ(loops[i].constData(), clipped[i].constData());
    }
    const Loops odd = {{}, {{1, 2, 3}}, kSquare};
    EXPECT_EQ(odd, PlaneClipper::clip({}, odd)); // without planes the loops are not inspected
    EXPECT_EQ(Loops({kSquare}), PlaneClipper::clip({Plane({0, 0, 1}, 5.0f)}, odd));
    EXPECT_TRUE(PlaneClipper::clip(box.planes(), {}).isEmpty());
}

TEST_F(PlaneClipperTest, CrossingsStandBetweenInsideAndOutsideAndNeverOnAPlane)
{
    const auto cut = [](const Plane &plane, const Loop &loop) { return PlaneClipper::clip({plane}, {loop}); };

    // Through two opposite corners: they stay, once each.
    EXPECT_EQ(Loops({{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}}}), cut(Plane({-1, 1, 0}, 0.0f), kSquare));
    // A triangle without one corner is a quadrilateral, whichever point is first.
    EXPECT_EQ(Loops({{{0, 1, 0}, {0, 0, 0}, {2, 0, 0}, {1, 1, 0}}}),
              cut(Plane({0, 1, 0}, 1.0f), {{0, 0, 0}, {2, 0, 0}, {0, 2, 0}}));
    EXPECT_EQ(Loops({{{1, 1, 0}, {0, 1, 0}, {0, 0, 0}, {2, 0, 0}}}),
              cut(Plane({0, 1, 0}, 1.0f), {{0, 2, 0}, {0, 0, 0}, {2, 0, 0}}));
    // Touched from outside: along an edge, at a corner, not at all.
    EXPECT_EQ(Loops({{{1, 0, 0}, {1, 1, 0}}}), cut(Plane({-1, 0, 0}, -1.0f), kSquare));
    EXPECT_EQ(Loops({{{1, 1, 0}}}), cut(Plane({-1, -1, 0}, -2.0f), kSquare));
    EXPECT_EQ(Loops(), cut(Plane({-1, -1, 0}, -2.5f), kSquare));
    // The next plane drops the one point that remains: a loop has at least two.
    EXPECT_EQ(Loops(), PlaneClipper::clip({Plane({-1, -1, 0}, -2.0f), Plane({1, 0, 0}, 9.0f)}, {kSquare}));
}

TEST_F(PlaneClipperTest, BoxesThatTouchShareExactlyTheFaceTheEdgeOrTheCorner)
{
    const Bounds box({0, 0, 0}, {1, 1, 1});
    const std::pair<QVector3D, double> rows[] = {{{1, 0, 0}, 2}, {{1, 1, 0}, 0}, {{1, 1, 1}, 0}};
    for (const auto &[lower, sharedArea] : rows) { // the shared face counts once for each box
        const Bounds other(lower, lower + QVector3D(1, 1, 1));
        const ClipperVolume both = PlaneClipper::clip(box.clippingVolume(), other.clippingVolume());
        EXPECT_EQ(12, both.planes.size());
        EXPECT_EQ(0, volume(both.loops));
        EXPECT_EQ(sharedArea, area(both.loops));
        const Bounds shared(PlaneClipper::loopsToPoints(both.loops));
        EXPECT_EQ(lower, shared.boxLowerBounds());
        EXPECT_EQ(QVector3D(1, 1, 1), shared.boxUpperBounds());
    }
    const Bounds apart({1.5f, 0, 0}, {2, 1, 1});
    EXPECT_TRUE(PlaneClipper::clip(box.clippingVolume(), apart.clippingVolume()).loops.isEmpty());
    // A box with itself: the faces of both.
    EXPECT_EQ(12, PlaneClipper::clip(box.clippingVolume(), box.clippingVolume()).loops.size());
}

TEST_F(PlaneClipperTest, IntersectionsOfRandomVolumesAreTheRightShells)
{
    for (unsigned int seed = 0; seed < 400 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const ClipperVolume a = random.volume();
        const ClipperVolume b = random.volume();
        const ClipperVolume ab = PlaneClipper::clip(a, b);
        ASSERT_EQ(a.planes.size() + b.planes.size(), ab.planes.size());
        expectShellOf(ab, a.planes + b.planes, random);

        const ClipperVolume c = random.volume(); // a result can be clipped again
        expectShellOf(PlaneClipper::clip(ab, c), a.planes + b.planes + c.planes, random);
    }
}

TEST_F(PlaneClipperTest, NotANumberIsOutsideAndNothingElseStartsFromIt)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const Plane plane({0, 1, 0}, 10.0f);
    const Loop withNaN = {{0, 0, 0}, {1, 0, 0}, {nan, nan, nan}};
    const Loops clipped = PlaneClipper::clip({plane}, {withNaN, kSquare});
    ASSERT_EQ(2, clipped.size());
    ASSERT_EQ(4, clipped[0].size()); // the two points, and a crossing on each of the edges to the NaN
    EXPECT_TRUE(std::isnan(clipped[0][0].x()));
    EXPECT_EQ(QVector3D(0, 0, 0), clipped[0][1]);
    EXPECT_EQ(QVector3D(1, 0, 0), clipped[0][2]);
    EXPECT_EQ(kSquare, clipped[1]);
    EXPECT_TRUE(PlaneClipper::clip({Plane({nan, 0, 0}, 0.0f)}, {kSquare}).isEmpty());
    // With a zero normal everything is on one side.
    EXPECT_EQ(Loops({kSquare}), PlaneClipper::clip({Plane({0, 0, 0}, 0.0f)}, {kSquare}));
    EXPECT_TRUE(PlaneClipper::clip({Plane({0, 0, 0}, -1.0f)}, {kSquare}).isEmpty());
}

TEST_F(PlaneClipperTest, AMillionRandomClipsStayFiniteInsideAndCheap)
{
    Random random(7);
    size_t points = 0;
    size_t taken = 0;
    for (int i = 0; i < 1000000; ++i) {
        const float reach = i % 16 == 0 ? std::pow(10.0f, random.number(-12, 12)) : 1.0f;
        // One triangle in four has integer corners, so that some are collinear, equal or on a plane.
        const auto corner = [&] {
            return i % 4 == 0 ? reach * QVector3D(random.integer(-1, 1), random.integer(-1, 1), 0)
                              : random.point(reach);
        };
        const Loops loops = {{corner(), corner(), corner()}};
        const QVector<Plane> planes = {i % 4 == 0 ? Plane(QVector3D(1, 0, 0), reach * random.integer(-1, 1))
                                                  : random.plane(reach),
                                       random.plane(reach)};
        const AllocationCount allocations;
        const Loops clipped = PlaneClipper::clip(planes, loops);
        const size_t now = allocations.taken();
        ASSERT_LE(now, 4u) << i; // the two sets, and one loop for each plane
        taken += now;
        for (const Loop &loop : clipped) {
            ASSERT_LE(loop.size(), 5) << i; // at most one more for each plane
            for (const QVector3D &point : loop) {
                const double outside = farthestOutside(planes, point);
                ASSERT_TRUE(outside < 1e-6 * double(reach)) << i; // false for a NaN
            }
            points += size_t(loop.size());
        }
    }
    EXPECT_GT(points, 1000000u); // the results above were not all empty,
    EXPECT_GT(taken, 1000000u);  // and allocations were counted
}

TEST_F(PlaneClipperTest, PointsAndLoopsOfBoxesAndFrustumsAgreeWithTheirPlanes)
{
    const Bounds box({-1.25f, 2, -3}, {4, 5.5f, 7});
    EXPECT_EQ(box.corners(), PlaneClipper::getFrustrumPoints(box.planes()));
    const Loops faces = PlaneClipper::getFrustrumLoops(box.corners());
    ASSERT_EQ(6, faces.size());
    EXPECT_EQ(8, PlaneClipper::loopsToPoints(faces).size());
    EXPECT_EQ(faces[0], Loop({box.corners()[0], box.corners()[1], box.corners()[3], box.corners()[2]}));
    EXPECT_NEAR(5.25f * 3.5f * 10, std::abs(volume(faces)), 1e-3f);
    EXPECT_EQ(0.0f, openEdgeLength(faces));

    for (unsigned int seed = 0; seed < 500; ++seed) {
        Random random(seed);
        const Loop corners = random.corners();
        const Loop found = PlaneClipper::getFrustrumPoints(planesOf(corners));
        ASSERT_EQ(8, found.size());
        for (int i = 0; i < 8; ++i) {
            ASSERT_LT((found[i] - corners[i]).length(), 1e-4f * random.scale) << seed << ' ' << i;
        }
    }
    EXPECT_TRUE(PlaneClipper::getFrustrumPoints(box.planes().mid(1)).isEmpty());
    EXPECT_TRUE(PlaneClipper::getFrustrumLoops(box.corners().mid(1)).isEmpty());
}

TEST_F(PlaneClipperTest, VolumesGrowFaceByFace)
{
    ClipperVolume volume;
    volume.addLoopPlane({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    volume.addLoopPlane({0, 0, 2}, {1, 0, 2}, {1, 1, 2}, {7, 7, 7}); // the plane ignores the fourth point
    EXPECT_EQ(Loops({{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 0, 2}, {1, 0, 2}, {1, 1, 2}, {7, 7, 7}}}),
              volume.loops);
    ASSERT_EQ(2, volume.planes.size());
    EXPECT_EQ(QVector3D(0, 0, 1), volume.planes[1].normal);
    EXPECT_EQ(2.0f, volume.planes[1].distance);
}

TEST_F(PlaneClipperTest, DumpsOneLineForEachLoop)
{
    PlaneClipper::dump("sides", {{{1, -2.25f, 0.5f}, {0, 0, 10}}, {}});
    EXPECT_MESSAGES("debug [PlaneClipper.cpp:#] Loop 'sides'",
                    "debug [PlaneClipper.cpp:#] Loop :  (+1.00 -2.25 +0.50) (+0.00 +0.00 +10.00)",
                    "debug [PlaneClipper.cpp:#] Loop : ");
}
