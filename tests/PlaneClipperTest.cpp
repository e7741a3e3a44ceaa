#include "support/AllocationCount.h"
#include "support/MessageCapture.h"

#include <ZelGL/Bounds.h>
#include <ZelGL/PlaneClipper.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <utility>

using namespace Orvane::Zel;

namespace {

using Loop = QVector<QVector3D>;
using Loops = QVector<Loop>;

const float kNaN = std::numeric_limits<float>::quiet_NaN();

/// Point by point: what is inside stays, and each edge between a point inside and one outside has a crossing. A point on the
/// plane is inside and makes no crossing.
Loops clipped(const QVector<Plane> &planes, Loops loops)
{
    for (const Plane &plane : planes) {
        for (Loop &loop : loops) {
            const Loop whole = loop.size() < 2 ? Loop() : std::exchange(loop, {});
            loop.clear();
            for (int i = 0; i < whole.size(); ++i) {
                const QVector3D a = whole.at(i);
                const QVector3D b = whole.at((i + whole.size() - 1) % whole.size());
                const float da = QVector3D::dotProduct(plane.normal, a) - plane.distance;
                const float db = QVector3D::dotProduct(plane.normal, b) - plane.distance;
                loop += da != 0 && db != 0 && (da < 0) != (db < 0) ? Loop{a + (b - a) * (da / (da - db))}
                                                                   : Loop();
                loop += da <= 0 ? Loop{a} : Loop();
            }
        }
        loops.removeAll({});
    }
    return loops;
}

/// Whether all coordinates are the same number, or no numbers.
bool isSame(const Loops &a, const Loops &b)
{
    const auto isEqual = [](const QVector3D &p, const QVector3D &q) {
        return (p.x() == q.x() || (p.x() != p.x() && q.x() != q.x()))
               && (p.y() == q.y() || (p.y() != p.y() && q.y() != q.y()))
               && (p.z() == q.z() || (p.z() != p.z() && q.z() != q.z()));
    };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](const Loop &x, const Loop &y) {
        return std::equal(x.begin(), x.end(), y.begin(), y.end(), isEqual);
    });
}

using PlaneClipperTest = MessageTest;

} // namespace

TEST_F(PlaneClipperTest, AMillionRandomClipsAreThoseOfTheDefinitionAndCheap)
{
    std::mt19937 random(7);
    const auto below = [&](int count) { return int(random() % unsigned(count)); };
    size_t taken = 0;
    int points = 0;
    for (int i = 0; i < 1000000; ++i) {
        std::uniform_real_distribution<float> number(-1.0f, 1.0f);
        const float reach = i % 16 == 0 ? std::pow(10.0f, 12 * number(random)) : 1.0f;
        // One in four has integers, so that points are collinear, equal or on a plane, and a few that are no numbers.
        const auto coordinate = [&] {
            return i % 4 != 0 ? reach * number(random) : below(64) == 0 ? kNaN : float(below(3) - 1);
        };
        const auto point = [&] { return QVector3D(coordinate(), coordinate(), coordinate()); };
        Loops loops(below(3));
        for (Loop &loop : loops) {
            loop.resize(below(i % 2 == 0 ? 4 : 6));
            std::generate(loop.begin(), loop.end(), point);
        }
        QVector<Plane> planes(below(3));
        std::generate(planes.begin(), planes.end(), [&] { return Plane(point(), coordinate()); });
        const Loops expected = clipped(planes, loops);
        const AllocationCount allocations;
        const Loops actual = PlaneClipper::clip(planes, loops);
        const size_t now = allocations.taken();
        ASSERT_TRUE(i % 2 != 0 || now <= size_t(2 + loops.size() * planes.size()))
            << i; // two sets, and the loops
        taken += now;
        ASSERT_TRUE(isSame(expected, actual)) << i;
        points += PlaneClipper::loopsToPoints(actual).size();
    }
    EXPECT_GT(points, 1000000);
    EXPECT_GT(taken, 500000u); // they were counted
}

TEST_F(PlaneClipperTest, BoxesThatTouchShareExactlyTheFaceTheEdgeOrTheCorner)
{
    const Bounds box({0, 0, 0}, {1, 1, 1});
    for (const QVector3D &lower : {QVector3D(1, 0, 0), QVector3D(1, 1, 0), QVector3D(1, 1, 1)}) {
        const Bounds other(lower, lower + QVector3D(1, 1, 1));
        const ClipperVolume both = PlaneClipper::clip(box.clippingVolume(), other.clippingVolume());
        EXPECT_EQ(PlaneClipper::clip(box.planes(), other.clippingVolume().loops)
                      + PlaneClipper::clip(other.planes(), box.clippingVolume().loops),
                  both.loops);
        ASSERT_EQ(12, both.planes.size());
        EXPECT_EQ(box.planes()[3].normal, both.planes[3].normal);
        EXPECT_EQ(other.planes()[3].distance, both.planes[9].distance);
        const Bounds shared(PlaneClipper::loopsToPoints(both.loops));
        EXPECT_EQ(lower, shared.boxLowerBounds());
        EXPECT_EQ(QVector3D(1, 1, 1), shared.boxUpperBounds());
    }
}

TEST_F(PlaneClipperTest, PointsAndLoopsOfBoxesAndFrustumsAgreeWithTheirPlanes)
{
    const Bounds box({-1.25f, 2, -3}, {4, 5.5f, 7});
    const Loop corners = box.corners();
    EXPECT_EQ(corners, PlaneClipper::getFrustrumPoints(box.planes()));
    const Loops faces = PlaneClipper::getFrustrumLoops(corners);
    const int numbers[6][4] = {{0, 1, 3, 2}, {1, 5, 7, 3}, {5, 4, 6, 7},
                               {4, 0, 2, 6}, {2, 3, 7, 6}, {4, 5, 1, 0}};
    ASSERT_EQ(6, faces.size());
    for (int i = 0; i < 24; ++i) {
        EXPECT_EQ(corners[numbers[i / 4][i % 4]], faces[i / 4][i % 4]) << i;
    }
    EXPECT_EQ(8, PlaneClipper::loopsToPoints(faces).size());
    const Loops same = PlaneClipper::clip(box.planes(), faces); // its own planes touch each corner
    EXPECT_EQ(faces[5].constData(), same[5].constData()) << "what is inside is not copied";
    EXPECT_TRUE(PlaneClipper::getFrustrumPoints(box.planes().mid(1)).isEmpty());
    EXPECT_TRUE(PlaneClipper::getFrustrumLoops(corners.mid(1)).isEmpty());

    // Planes at a small angle: the differences of their distances cancel.
    const QVector3D corner(3, 100, 5);
    QVector<Plane> planes = box.planes();
    planes[0] = Plane(QVector3D(0.005f, 1, 0).normalized(), corner);
    planes[5] = Plane(QVector3D(-0.005f, 1, 0).normalized(), corner);
    planes[2] = Plane(QVector3D(0.6f, 0, 0.8f), corner);
    EXPECT_LT((PlaneClipper::getFrustrumPoints(planes)[0] - corner).length(), 5e-3f);
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
