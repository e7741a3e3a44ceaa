#include "support/SceneFixture.h"

#include <algorithm>
#include <array>
#include <functional>
#include <numeric>
#include <random>

using namespace Orvane::Zel;

namespace {

using GPUModelTest = SceneTest;

QMatrix4x4 randomMatrix(std::mt19937 &random)
{
    std::uniform_real_distribution<float> value(-2.0f, 2.0f);
    QMatrix4x4 matrix;
    matrix.translate(value(random), value(random), value(random));
    matrix.rotate(90.0f * value(random), value(random), value(random), 1.0f);
    matrix.scale(1.0f + 0.2f * value(random), 1.0f, value(random) < -1.5f ? -1.0f : 1.0f);
    return matrix;
}

QMatrix4x4 read(const InstanceDataCollection &data, int item, const char *member)
{
    QMatrix4x4 matrix;
    data.get(item, member, matrix.data());
    return matrix;
}

/// Returns the world matrix of a locked child: the position and scale of its parent, not the rotation. Scales the local matrix.
QMatrix4x4 lockedWorld(const QMatrix4x4 &above, QMatrix4x4 &local)
{
    const QVector4D place = (above * local).column(3);
    QVector3D axes[3];
    for (int i = 0; i < 3; ++i) {
        axes[i] = above.column(i).toVector3D();
    }
    const float volume = QVector3D::dotProduct(QVector3D::crossProduct(axes[0], axes[1]), axes[2]);
    local.setColumn(3, QVector4D(0, 0, 0, 1));
    local.scale(axes[0].length() * (volume < 0 ? -1.0f : 1.0f), axes[1].length(), axes[2].length());
    QMatrix4x4 world = local;
    world.setColumn(3, place);
    return world;
}

/// Compares up to the rounding of the largest element.
bool isNear(const QMatrix4x4 &expected, const QMatrix4x4 &actual)
{
    float greatest = 0.0f;
    float error = 0.0f;
    for (int i = 0; i < 16; ++i) {
        greatest = std::max(greatest, std::abs(expected.constData()[i]));
        error = std::max(error, std::abs(expected.constData()[i] - actual.constData()[i]));
    }
    return error <= 1e-5f * greatest;
}

/// Whether all corners of a box are outside of one plane of the frustum.
bool liesOutside(const QMatrix4x4 &clipFromLocal, const GPUModel::BoundingBox &box)
{
    for (int plane = 0; plane < 6; ++plane) {
        bool behind = true;
        for (int corner = 0; corner < 8; ++corner) {
            const QVector4D at(corner & 1 ? box.maxX : box.minX, corner & 2 ? box.maxY : box.minY,
                               corner & 4 ? box.maxZ : box.minZ, 1.0f);
            const QVector4D clip = clipFromLocal * at;
            behind =
                behind && (plane % 2 == 0 ? clip.w() + clip[plane / 2] : clip.w() - clip[plane / 2]) <= 0;
        }
        if (behind) {
            return true;
        }
    }
    return false;
}

/// Whether any pixel of a small picture shows the box: a ray through each pixel, intersected with the box in its own space.
bool isSeen(const QMatrix4x4 &clipFromLocal, const GPUModel::BoundingBox &box)
{
    constexpr int kPixels = 24;
    const QMatrix4x4 localFromClip = clipFromLocal.inverted();
    const float least[3] = {box.minX, box.minY, box.minZ};
    const float most[3] = {box.maxX, box.maxY, box.maxZ};
    for (int pixel = 0; pixel < kPixels * kPixels; ++pixel) {
        const float x = (float(pixel % kPixels) + 0.5f) * 2.0f / kPixels - 1.0f;
        const float y = (float(pixel / kPixels) + 0.5f) * 2.0f / kPixels - 1.0f;
        const QVector3D from = localFromClip.map(QVector3D(x, y, -1.0f));
        const QVector3D way = localFromClip.map(QVector3D(x, y, 1.0f)) - from;
        float enter = 0.0f;
        float leave = 1.0f;
        for (int axis = 0; axis < 3; ++axis) {
            const float a = (least[axis] - from[axis]) / way[axis];
            const float b = (most[axis] - from[axis]) / way[axis];
            enter = std::max(enter, std::min(a, b));
            leave = std::min(leave, std::max(a, b));
        }
        if (enter < leave) {
            return true;
        }
    }
    return false;
}

} // namespace

TEST_F(GPUModelTest, RandomHierarchiesReachTheWorldAndTheObjectData)
{
    constexpr int kTransforms = 2000;
    constexpr int kCommands = 25; // of each drawable
    std::mt19937 random(8);
    const auto below = [&](int count) { return int(random() % unsigned(count)); };
    const auto held = [&](int i, const char *member) {
        return read(*_model.objectData(i / kCommands), i % kCommands, member);
    };
    QVector<QMatrix4x4> locals(kTransforms);
    QVector<QMatrix4x4> worlds(kTransforms);
    QVector<bool> locked(kTransforms);
    for (int i = 0; i < kTransforms; ++i) {
        if (i % kCommands == 0) {
            _model.add(squares(kCommands), 0, nullptr, objects(kCommands), 0);
        }
        locals[i] = randomMatrix(random);
        _model.useTransform(i / kCommands, i % kCommands, _model.addTransform(-1, locals.at(i)));
    }
    QVector<int> order(kTransforms); // parents precede children here, but not by number
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), random);
    for (int i = 50; i < kTransforms; ++i) {
        _model.setTransformParent(order.at(i), order.at(below(i / 4)));
    }
    const int above = _model.transformParent(order.back());
    _model.setTransformParent(above, order.back()); // refused: it would make a ring
    ASSERT_NE(order.back(), _model.transformParent(above));

    for (int frame = 0; frame < 12; ++frame) {
        QVector<bool> dirty(kTransforms, frame == 0);
        const int place = 50 + below(kTransforms - 50);
        const int newParent = order.at(below(place / 4));
        dirty[order.at(place)] = frame == 0 || newParent != _model.transformParent(order.at(place));
        _model.setTransformParent(order.at(place), newParent);
        for (int move = 0; move < 4; ++move) {
            const int i = order.at(below(kTransforms >> (2 * move))); // with few descendants, and with many
            const int parent = _model.transformParent(i);
            const QMatrix4x4 matrix = randomMatrix(random);
            locked[i] = move == 0;
            if (move == 1) {
                locals[i] = parent < 0 ? matrix : worlds.at(parent).inverted() * matrix;
                _model.setWorldTransform(i, matrix);
            } else {
                locals[i] = matrix;
                _model.setLocalTransform(i, matrix, locked.at(i));
            }
            dirty[i] = true;
            _model.setLocalTransform(i, locals.at(i), !locked.at(i)); // an equal one does not change the lock
        }
        QVector<QMatrix4x4> before;
        for (int i = 0; i < kTransforms; ++i) {
            before.append(held(i, "ModelMatrix"));
        }
        for (const int i : qAsConst(order)) {
            const int parent = _model.transformParent(i);
            dirty[i] = dirty.at(i) || (parent >= 0 && dirty.at(parent));
            ASSERT_EQ(dirty.at(i), _model.isTransformDirty(i)) << frame << ' ' << i;
            if (dirty.at(i)) {
                const QMatrix4x4 upper = parent < 0 ? QMatrix4x4() : worlds.at(parent);
                worlds[i] = locked.at(i) ? lockedWorld(upper, locals[i]) : upper * locals.at(i);
            }
        }
        _model.updateTransforms();
        for (int i = 0; i < kTransforms; ++i) {
            const QMatrix4x4 world = _model.worldTransform(i);
            ASSERT_FALSE(_model.isTransformDirty(i));
            ASSERT_TRUE(qFuzzyCompare(worlds.at(i), world)) << frame << ' ' << i;
            QMatrix4x4 small = world;
            small.scale(1e-9f);
            ASSERT_EQ(world.determinant() < 0, GPUModel::SwapsHandedness(world));
            ASSERT_EQ(world.determinant() < 0, GPUModel::SwapsHandedness(small)) << frame << ' ' << i;
            ASSERT_EQ(world, held(i, "ModelMatrix"));
            ASSERT_TRUE(isNear(world.inverted(), held(i, "InverseModelMatrix"))) << frame << ' ' << i;
            ASSERT_TRUE(isNear(QMatrix4x4(world.normalMatrix()), QMatrix4x4(_model.normalTransform(i))));
            const QMatrix4x4 normal = held(i, "ModelNormalMatrix");
            ASSERT_EQ(_model.normalTransform(i), QMatrix3x3(normal.constData()).transposed()); // by columns
            ASSERT_EQ(before.at(i), held(i, "PreviousModelMatrix")) << frame << ' ' << i;
        }
        _model.updatePreviousMatrices();
        for (int i = 0; i < kTransforms; ++i) { // no motion until the next move
            ASSERT_EQ(_model.worldTransform(i), held(i, "PreviousModelMatrix"));
        }
    }
}

TEST_F(GPUModelTest, WhatIsRemovedIsDeletedInOrderUnlessAnotherDrawableUsesIt)
{
    auto *shared = objects(1);
    QObjectList expected, deleted;
    for (int i = 0; i < 3; ++i) {
        _model.add(squares(1), 0, objects(1), shared, 0);
        expected << _model.drawBuffers(i) << _model.materialData(i);
    }
    expected.insert(4, shared); // with the second drawable, now its first user
    for (const QObject *object : qAsConst(expected)) {
        QObject::connect(object, &QObject::destroyed, [&](QObject *gone) { deleted << gone; });
    }
    _model.set(0, _model.drawBuffers(0), _model.materialData(0), nullptr, 0, 0);
    EXPECT_TRUE(deleted.isEmpty());
    _model.clear();
    EXPECT_EQ(expected, deleted);
}

TEST_F(GPUModelTest, FlagsNamesAndAncestorsReachTheirDrawables)
{
    const int late = addSquares({placed(0, 0)}, 7);
    const int early = addSquares({placed(0, 0), placed(1, 1)}, 3ull << 55 | 3);
    _model.removeFlags(0, 2, 3ull << 55); // now lower flags follow higher ones
    _model.addFlags(late, 5ull << 52 | 1);
    _model.setFlags(early, 0, 0, ~0ull); // names no drawable: nothing changes
    _model.sortDrawablesByFlags();
    EXPECT_EQ(5ull << 52 | 7, _model.getFlags(late));
    EXPECT_EQ(3u, _model.getFlags(early));
    EXPECT_EQ(0, _model.maxUVSets());
    EXPECT_EQ(5, _model.maxTangentSets());
    EXPECT_TRUE(_model.isDrawAny(4));

    // References are positions, so that of number 0 now means the other drawable.
    _model.addObjectName(late, 1, "a");
    const QMatrix4x4 matrix = placed(5, 6);
    _model.setObjectProperty("a", "InverseModelMatrix", matrix.constData(), 64);
    _model.setObjectProperty("b", "InverseModelMatrix", matrix.constData(), 64);
    _model.setMaterialProperty("a", "InverseModelMatrix", matrix.constData(), 64);
    EXPECT_EQ(matrix, read(*_model.objectData(early), 1, "InverseModelMatrix"));
    EXPECT_EQ(1, _model.objectInstances("a").size());
    EXPECT_TRUE(_model.materialNames().isEmpty());

    QMatrix4x4 away =
        placed(866025.5f, 500000.25f); // along its x axis: the products for y cancel in the inverse
    away.rotate(30, 0, 0, 1);
    const double y = double(away(1, 0)) * away(0, 3) - double(away(0, 0)) * away(1, 3);
    const int far = addSquares({away});
    _model.updateTransforms();
    EXPECT_NEAR(y, read(*_model.objectData(far), 0, "InverseModelMatrix")(1, 3), 1e-4);

    const int parent = _model.addTransform(-1, QMatrix4x4());
    const int child = _model.addTransform(parent, QMatrix4x4());
    _model.setVisibility(parent, 2);
    EXPECT_TRUE(_model.isVisible(child));
    _model.setVisibility(parent, 3);
    EXPECT_FALSE(_model.isVisible(child));
    EXPECT_FALSE(_model.isParentHidden(-1));
    EXPECT_TRUE(_model.isDescendant(parent, child));
    EXPECT_FALSE(_model.isDescendant(parent, -1));
    _model.clear();
    for (int i = 0; i <= child; ++i) { // the numbers keep their old visibility
        _model.addTransform(-1, QMatrix4x4());
        EXPECT_EQ(i != parent, _model.isVisible(i));
    }
}

TEST_F(GPUModelTest, CamerasTakeWhatTheyLackFromTheModelAndFillTheAspectFromTheirFilm)
{
    const auto edges = [&](int camera, float aspect) { // left and bottom of the near plane
        const QVector3D corner =
            _model.getCameraProjectionMatrix(camera, aspect).inverted().map({-1, -1, -1});
        return std::array<float, 3>{corner.x(), corner.y(), -corner.z()};
    };
    const auto expectNear = [](const std::array<float, 3> &expected, const std::array<float, 3> &actual) {
        for (size_t i = 0; i < 3; ++i) {
            EXPECT_NEAR(expected[i], actual[i], 1e-5f * std::abs(expected[i])) << i;
        }
    };
    expectNear({-0.036f, -0.024f, 0.1f}, edges(-1, 1.5f));
    expectNear({-0.036f, -0.018f, 0.1f}, edges(-1, 2.0f)); // wider than the film
    expectNear({-0.024f, -0.024f, 0.1f}, edges(-1, 1.0f));
    _model.setClipPlaneDefaults(0.2f, 50);
    GPUModel::Camera camera;
    camera.filmOffsetX = 0.002f;
    camera.focusDistance = 5;
    expectNear({-0.072f + 0.008f, -0.048f, 0.2f}, edges(_model.addCamera(camera, "wide"), 1.5f));
    camera.projectionType = 1;
    camera.nearClip = 1;
    camera.transform = _model.addTransform(-1, placed(3, 4));
    const int flat = _model.addCamera(camera, "flat");
    expectNear({-1.8f + 0.2f, -1.2f, 1}, edges(flat, 1.5f));
    _model.updateTransforms();
    EXPECT_EQ(placed(-3, -4), _model.getCameraWorldSpaceMatrix(flat));
    EXPECT_EQ(flat, _model.getCameraIndex("flat"));
    EXPECT_EQ(-1, _model.getCameraIndex("none"));
}

TEST_F(GPUModelTest, FrustumCullingKeepsEverythingThatAPictureShowsOrHasAPointInView)
{
    constexpr int kBoxes = 32;
    std::mt19937 random(21);
    std::uniform_real_distribution<float> value(-6.0f, 6.0f);
    QMatrix4x4 viewProjection;
    viewProjection.perspective(60.0f, 1.3f, 0.5f, 8.0f);
    viewProjection.lookAt({1, 2, 5}, {0, 0, 0}, {0, 1, 0});
    const GPUModel::BoundingBox box = {-0.5f, -0.25f, -0.5f, 0.5f, 0.75f, 0.5f};
    _model.loadBoundingBoxes(&box, 1);
    int culled = 0;
    for (int round = 0; round < 40; ++round) {
        for (int i = 0; i < kBoxes; ++i) {
            QMatrix4x4 matrix = randomMatrix(random);
            matrix.setColumn(3, QVector4D(value(random), value(random), value(random), 1.0f));
            _model.useBoundingBox(addSquares({matrix}, 1ull << i), 0, 0);
        }
        _model.updateTransforms();
        culled += _model.frustumCull(viewProjection);
        EXPECT_EQ(0, _model.frustumCull(viewProjection)); // each command is counted once
        for (int i = 0; i < kBoxes; ++i) {
            const QMatrix4x4 clipFromLocal = viewProjection * _model.worldTransform(i);
            bool seen = isSeen(clipFromLocal, box);
            for (int point = 0; point < 1000 && !seen; ++point) {
                const QVector3D p(-0.5f + float(point % 10) / 9, -0.25f + float(point / 10 % 10) / 9,
                                  -0.5f + float(point / 100) / 9);
                const QVector4D clip = clipFromLocal * QVector4D(p, 1.0f);
                seen = std::abs(clip.x()) < clip.w() && std::abs(clip.y()) < clip.w()
                       && std::abs(clip.z()) < clip.w();
            }
            ASSERT_FALSE(seen && _model.isDrawEmpty(1ull << i, 1ull << i)) << round << ' ' << i;
        }
        _model.clear();
    }
    EXPECT_GT(culled, 100);
}

TEST_F(GPUModelTest, MarksCountsAndBoundsAgreeOverARandomSequence)
{
    constexpr int kDrawables = 12;
    constexpr int kCommands = 3;
    constexpr int kAllCommands = kDrawables * kCommands;
    std::mt19937 random(84);
    QVector<GPUModel::BoundingBox> boxes; // each identified by its own minimum of x
    for (int i = 0; i < kAllCommands; ++i) {
        boxes.append({-0.5f - 0.01f * float(i), -0.5f, -0.5f, 0.5f, 0.5f, 0.5f});
    }
    _model.loadBoundingBoxes(boxes.constData(), boxes.size());
    for (int drawable = 0; drawable < kDrawables; ++drawable) {
        const int instance = addSquares(QVector<QMatrix4x4>(kCommands), 1ull << drawable);
        for (int command = 0; command < kCommands; ++command) {
            _model.useBoundingBox(instance, command, drawable * kCommands + command);
        }
    }
    QMatrix4x4 camera;
    camera.perspective(60.0f, 1.0f, 0.5f, 9.0f);
    camera.translate(0, 0, -3);
    QMatrix4x4 nothing;
    nothing.scale(0.0f);
    const auto isHidden = [&](int i) {
        const QMatrix4x4 world = _model.worldTransform(i);
        return (_model.getFlags(i / kCommands) & GPUModel::kFlagHidden) != 0 || !_model.isVisible(i)
               || (!_model.isTransformDirty(i) && world == nothing);
    };
    const auto isOutside = [&](int i) {
        return !_model.isTransformDirty(i) && liesOutside(camera * _model.worldTransform(i), boxes.at(i));
    };
    QVector<bool> marks(kAllCommands, false);
    int marked = 0;
    const auto markAll = [&](const std::function<bool(int)> &isCulled) {
        const int before = marks.count(true);
        for (int i = 0; i < kAllCommands; ++i) {
            marks[i] = marks.at(i) || isCulled(i);
        }
        marked += marks.count(true) - before;
        return marks.count(true) - before;
    };
    for (int step = 0; step < 2000; ++step) {
        const int i = static_cast<int>(random() % kAllCommands);
        switch (random() % 8) {
        case 0:
        case 1:
            _model.setLocalTransform(i, random() % 8 == 0 ? nothing : randomMatrix(random), false);
            break;
        case 2:
            _model.updateTransforms();
            break;
        case 3:
            _model.setVisibility(i, static_cast<int>(random() % 4));
            break;
        case 4:
            _model.setFlags(i / kCommands, random() % 4 == 0 ? GPUModel::kFlagHidden : 0,
                            GPUModel::kFlagHidden);
            break;
        case 5:
            ASSERT_EQ(markAll(isHidden), _model.visibilityCull()) << step;
            break;
        case 6:
            ASSERT_EQ(markAll(isOutside), _model.frustumCull(camera)) << step;
            break;
        default:
            _model.resetCulling();
            marks.fill(false);
        }
        float least = 1e20f;
        for (int command = 0; command < kAllCommands; ++command) {
            least = marks.at(command) ? least : std::min(least, boxes.at(command).minX);
        }
        ASSERT_EQ(least, _model.sceneBounds().minX) << step;
        for (int drawable = 0; drawable < kDrawables; ++drawable) {
            const bool all = marks.mid(drawable * kCommands, kCommands).count(true) == kCommands;
            ASSERT_EQ(all, _model.isDrawEmpty(1ull << drawable, 1ull << drawable)) << step;
        }
    }
    EXPECT_GT(marked, 500);
}
