#include <ZelGL/Bounds.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace Orvane::Zel;

namespace {

const float kNaN = std::numeric_limits<float>::quiet_NaN();

const Bounds kBox({-1, -2, -3}, {1, 2, 3});

void expectBox(const QVector3D &lower, const QVector3D &upper, const Bounds &actual)
{
    EXPECT_EQ(lower, actual.boxLowerBounds());
    EXPECT_EQ(upper, actual.boxUpperBounds());
}

} // namespace

TEST(PlaneTest, DistancesAndSidesAreExact)
{
    const Plane plane(QVector3D(0, 2, 0), QVector3D(5, 3, 1)); // the normal is not normalised
    EXPECT_EQ(6.0f, plane.distance);
    EXPECT_EQ(-6.0f, plane.DistanceTo({9, 0, 9}));
    EXPECT_EQ(-1, plane.WhichSide({0, std::nextafter(3.0f, 0.0f), 0}));
    EXPECT_EQ(0, plane.WhichSide({0, 3, 0}));
    EXPECT_EQ(1, plane.WhichSide({0, std::nextafter(3.0f, 4.0f), 0}));
    EXPECT_EQ(0, plane.WhichSide({0, kNaN, 0}));
    EXPECT_TRUE(Plane().normal.isNull());
}

TEST(PlaneTest, ThreePointsGiveAUnitNormalUnlessTheyAreInLine)
{
    const Plane plane(QVector3D(0, 0, 4), QVector3D(3, 0, 4), QVector3D(0, 5, 4));
    EXPECT_EQ(QVector3D(0, 0, 1), plane.normal);
    EXPECT_EQ(4.0f, plane.distance);
    EXPECT_EQ(QVector3D(0, 0, 1), Plane({0, 0, 0}, {1e-30f, 0, 0}, {0, 1e-30f, 0}).normal);
    const Plane none(QVector3D(1, 1, 1), QVector3D(2, 2, 2), QVector3D(3, 3, 3));
    EXPECT_TRUE(none.normal.isNull());
    EXPECT_EQ(0.0f, none.distance);
}

TEST(BoundsTest, NullIsABoxWithoutAnyExtentAndNoPointsMakeAnInvertedOne)
{
    EXPECT_TRUE(Bounds().isNull());
    EXPECT_TRUE(Bounds({1, 2, 3}, {1, 2, 3}).isNull());
    EXPECT_FALSE(Bounds({1, 2, 3}, {1, 2, 4}).isNull());
    EXPECT_FALSE(Bounds({kNaN, 0, 0}, {kNaN, 0, 0}).isNull());
    expectBox({-1, -7, 2}, {4, 5, 6}, Bounds({{4, -7, 6}, {-1, 5, 2}, {kNaN, kNaN, kNaN}}));
    const Bounds none{QVector<QVector3D>()};
    const float max = 3.4028235e38f;
    expectBox({max, max, max}, {-max, -max, -max}, none);
    EXPECT_FALSE(none.isNull());
    EXPECT_FALSE(none.isInside({0, 0, 0}));
}

TEST(BoundsTest, CornersAndPlanesAreInTheirOrdersAndInside)
{
    for (int i = 0; i < 8; ++i) { // each bit chooses the side of one axis
        const QVector3D corner(i & 1 ? 1 : -1, i & 2 ? 2 : -2, i & 4 ? 3 : -3);
        EXPECT_EQ(corner, kBox.corners()[i]) << i;
        EXPECT_TRUE(kBox.isInside(corner));
        for (int axis = 0; axis < 3; ++axis) {
            float xyz[] = {corner.x(), corner.y(), corner.z()};
            xyz[axis] *= 1.0001f;
            EXPECT_FALSE(kBox.isInside(xyz)) << i;
        }
    }
    EXPECT_FALSE(kBox.isInside({0, kNaN, 0}));
    const QVector3D normals[] = {{0, 0, -1}, {0, 0, 1}, {-1, 0, 0}, {0, 1, 0}, {1, 0, 0}, {0, -1, 0}};
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(normals[i], kBox.planes()[i].normal) << i;
        EXPECT_EQ(std::abs(QVector3D::dotProduct(normals[i], {1, 2, 3})), kBox.planes()[i].distance) << i;
    }
    EXPECT_EQ(6, kBox.clippingVolume().loops.size());
    EXPECT_EQ(6, kBox.clippingVolume().planes.size());
}

TEST(BoundsTest, MatricesTakeTheVectorOnTheLeft)
{
    QMatrix4x4 matrix;
    expectBox({-1, -2, -3}, {1, 2, 3}, kBox * matrix);
    expectBox({-1, -2, -3}, {1, 2, 3}, kBox.transform(matrix));

    matrix.translate(10, 20, 30);
    expectBox({-1, -2, -3}, {1, 2, 3}, kBox * matrix); // this column affects w only
    expectBox({9, 18, 27}, {11, 22, 33}, kBox * matrix.transposed());
    expectBox({9, 18, 27}, {11, 22, 33}, kBox.transform(matrix.transposed()));

    QMatrix4x4 turn;
    turn.rotate(45, 0, 0, 1);
    const float half = std::sqrt(0.5f);
    const Bounds around = kBox * turn;
    EXPECT_NEAR(-3 * half, around.boxLowerBounds().x(), 1e-6f);
    EXPECT_NEAR(3 * half, around.boxUpperBounds().y(), 1e-6f);
    const Bounds twoCorners = kBox.transform(turn); // the other six are not transformed
    EXPECT_NEAR(-3 * half, twoCorners.boxLowerBounds().x(), 1e-6f);
    EXPECT_NEAR(half, twoCorners.boxUpperBounds().y(), 1e-6f);
}

TEST(BoundsTest, ClippingByAFrustumFindsTheTightBox)
{
    const Bounds inner({-4, -1, -1}, {0, 1, 1});
    const Bounds outside({5, 5, 5}, {6, 6, 6});
    const Bounds outer({-9, -9, -9}, {9, 9, 9});
    const QVector<Plane> extra{Plane(QVector3D(1, 0, 0), -0.5f), Plane(QVector3D(0, 1, 0), 0.25f)};
    // The first pass returns the faces of the box inside the frustum, the second those of the frustum inside the box.
    const auto expectPoints = [](int count, const QVector3D &upper, const QVector<QVector3D> &points) {
        EXPECT_EQ(count, points.size());
        expectBox({-1, -1, -1}, upper, Bounds(points));
    };
    expectPoints(4, {-1, 1, 1}, kBox.frustrumClipped(inner.planes(), {}, {}));
    expectPoints(4, {-1, 0.25f, 1}, kBox.frustrumClipped(inner.planes(), {}, extra));
    expectPoints(12, {0, 1, 1},
                 kBox.frustrumClipped(inner.planes(), inner.corners(), {})); // four are in both
    expectPoints(12, {-0.5f, 0.25f, 1}, kBox.frustrumClipped(inner.planes(), inner.corners(), extra));
    EXPECT_TRUE(kBox.frustrumClipped(outside.planes(), {}, {}).isEmpty());
    EXPECT_EQ(8, kBox.frustrumClipped(outer.planes(), outer.corners(), {}).size());
}
