#include "SnippetsTest.h"

#include <ZelGL/Bounds.h>
#include <ZelGL/PlaneClipper.h>

#include <QtGui/QMatrix4x4>

using namespace Orvane::Zel;

TEST_F(SnippetsTest, Plane)
{
    //! [Plane]
    const Plane ground(QVector3D(0, 1, 0), 0.0f); // y = 0; inside is below
    const QVector3D balloon(3, 20, 5);
    const float height = ground.DistanceTo(balloon);
    const bool isBelow = ground.WhichSide(balloon) < 0;

    // Counter-clockwise as seen from above, so this normal points up too.
    const Plane roof(QVector3D(0, 5, 0), QVector3D(0, 5, 1), QVector3D(1, 5, 0));
    //! [Plane]
    EXPECT_EQ(20.0f, height);
    EXPECT_FALSE(isBelow);
    EXPECT_EQ(15.0f, roof.DistanceTo(balloon));
}

TEST_F(SnippetsTest, Bounds)
{
    //! [Bounds]
    const Bounds house({{0, 0, 0}, {8, 5, 6}, {4, 9, 3}});
    const bool isInDoors = house.isInside(QVector3D(4, 1, 3));

    QMatrix4x4 street;
    street.translate(100, 0, 0);
    const Bounds moved = house * street.transposed(); // the vector is on the left
    //! [Bounds]
    EXPECT_TRUE(isInDoors);
    EXPECT_EQ(QVector3D(108, 9, 6), moved.boxUpperBounds());
}

TEST_F(SnippetsTest, ClipperVolume)
{
    //! [ClipperVolume]
    // A pyramid with a base of 2 x 2 and the height 3, its faces counter-clockwise as seen from outside.
    const QVector3D top(0, 3, 0);
    const QVector3D base[] = {{-1, 0, 1}, {1, 0, 1}, {1, 0, -1}, {-1, 0, -1}};
    ClipperVolume pyramid;
    for (int i = 0; i < 4; ++i) {
        pyramid.addLoopPlane(base[i], base[(i + 1) % 4], top);
    }
    pyramid.addLoopPlane(base[3], base[2], base[1], base[0]);
    //! [ClipperVolume]
    for (const Plane &plane : pyramid.planes) {
        EXPECT_EQ(-1, plane.WhichSide(QVector3D(0, 1, 0)));
    }
}

TEST_F(SnippetsTest, PlaneClipper)
{
    //! [PlaneClipper]
    // What two boxes have in common.
    const Bounds room(QVector3D(0, 0, 0), QVector3D(4, 4, 4));
    const Bounds lamp(QVector3D(3, 1, 1), QVector3D(9, 2, 2));
    const ClipperVolume lit = PlaneClipper::clip(room.clippingVolume(), lamp.clippingVolume());
    const Bounds litBox(PlaneClipper::loopsToPoints(lit.loops));
    //! [PlaneClipper]
    EXPECT_EQ(QVector3D(3, 1, 1), litBox.boxLowerBounds());
    EXPECT_EQ(QVector3D(4, 2, 2), litBox.boxUpperBounds());
}
