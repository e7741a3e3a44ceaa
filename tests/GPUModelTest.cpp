#include "support/Pixels.h"
#include "support/SceneFixture.h"

#include <QtGui/QOpenGLFramebufferObject>
#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <random>

using namespace Orvane::Zel;

namespace {

/// Has nothing to bind.
class NoTextures : public TextureManager
{
public:
    using TextureManager::bind;
    using TextureManager::unbind;

    void bind(const QList<TextureToken> &) override {}
    void unbind(const QVector<TextureToken> &) override {}
    void bind(ShaderProgram *) override {}
    void unbind(ShaderProgram *) override {}
    QString getShaderFile() override { return {}; }
};

class GPUModelTest : public SceneTest
{
protected:
    NoTextures _textures;
};

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

/// A child that takes place and scale of what is above it, not the rotation; its local matrix keeps the scale.
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

/// Up to what rounding does to the greatest element.
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

/// Whether all corners of a box lie behind one plane of the view.
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

/// Whether a box shows in any pixel of a small picture: a ray through each, cut by the box in its own space.
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
    constexpr int kTransforms = 32;
    std::mt19937 random(8);
    const int instance = _model.add(squares(kTransforms), 0, nullptr, objects(kTransforms), 0);
    const InstanceDataCollection &data = *_model.objectData(instance);
    for (int i = 0; i < kTransforms; ++i) {
        const int parent = static_cast<int>(random() % static_cast<unsigned>(i + 1)) - 1;
        _model.useTransform(instance, i, _model.addTransform(parent, randomMatrix(random)));
    }
    QVector<QMatrix4x4> locals(kTransforms);
    QVector<QMatrix4x4> worlds(kTransforms);
    QVector<bool> locked(kTransforms);
    for (int i = 0; i < kTransforms; ++i) {
        locals[i] = _model.localTransform(i);
    }
    for (int frame = 0; frame < 50; ++frame) {
        QVector<QMatrix4x4> before;
        for (int i = 0; i < kTransforms; ++i) {
            before.append(read(data, i, "ModelMatrix"));
        }
        const int moved = static_cast<int>(random() % kTransforms);
        locals[moved] = randomMatrix(random);
        locked[moved] = frame % 3 == 0;
        _model.setLocalTransform(moved, locals.at(moved), locked.at(moved));
        QVector<bool> dirty(kTransforms, frame == 0);
        dirty[moved] = true;
        for (int i = 0; i < kTransforms; ++i) { // parents stand in front
            const int parent = _model.transformParent(i);
            dirty[i] = dirty.at(i) || (parent >= 0 && dirty.at(parent));
            ASSERT_EQ(dirty.at(i), _model.isTransformDirty(i)) << frame << ' ' << i;
            if (dirty.at(i)) {
                const QMatrix4x4 above = parent < 0 ? QMatrix4x4() : worlds.at(parent);
                worlds[i] = locked.at(i) ? lockedWorld(above, locals[i]) : above * locals.at(i);
            }
        }
        _model.updateTransforms();
        for (int i = 0; i < kTransforms; ++i) {
            const QMatrix4x4 world = _model.worldTransform(i);
            ASSERT_FALSE(_model.isTransformDirty(i));
            ASSERT_TRUE(qFuzzyCompare(worlds.at(i), world)) << frame << ' ' << i;
            ASSERT_EQ(world, read(data, i, "ModelMatrix"));
            ASSERT_TRUE(isNear(world.inverted(), read(data, i, "InverseModelMatrix"))) << frame << ' ' << i;
            ASSERT_TRUE(isNear(QMatrix4x4(world.normalMatrix()), QMatrix4x4(_model.normalTransform(i))));
            float normal[16];
            data.get(i, "ModelNormalMatrix", normal);
            ASSERT_EQ(_model.normalTransform(i), QMatrix3x3(normal).transposed()); // column after column
            ASSERT_EQ(before.at(i), read(data, i, "PreviousModelMatrix")) << frame << ' ' << i;
        }
        _model.updatePreviousMatrices();
        for (int i = 0; i < kTransforms; ++i) {
            ASSERT_EQ(_model.worldTransform(i),
                      read(data, i, "PreviousModelMatrix")); // what stands still has no motion
        }
    }
}

TEST_F(GPUModelTest, SortingKeepsInstanceNumbersAndHiddenAncestorsHide)
{
    const int late = addSquares({placed(0, 0)}, 7);
    const int early = addSquares({placed(0, 0)}, 3);
    _model.sortDrawablesByFlags();
    EXPECT_EQ(7u, _model.getFlags(late));
    EXPECT_EQ(3u, _model.getFlags(early));
    EXPECT_TRUE(_model.isDrawAny(4));

    const int parent = _model.addTransform(-1, QMatrix4x4());
    const int child = _model.addTransform(parent, QMatrix4x4());
    _model.setVisibility(parent, 2);
    EXPECT_TRUE(_model.isVisible(child));
    _model.setVisibility(parent, 3);
    EXPECT_FALSE(_model.isVisible(child));
    EXPECT_FALSE(_model.isParentHidden(-1));
    EXPECT_TRUE(_model.isDescendant(parent, child));
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
    int culledInAll = 0;
    for (int round = 0; round < 40; ++round) {
        QVector<QMatrix4x4> matrices;
        for (int i = 0; i < kBoxes; ++i) {
            QMatrix4x4 matrix = randomMatrix(random);
            matrix.setColumn(3, QVector4D(value(random), value(random), value(random), 1.0f));
            matrices.append(matrix);
        }
        const int instance = addSquares(matrices);
        for (int i = 0; i < kBoxes; ++i) {
            _model.useBoundingBox(instance, i, 0);
        }
        _model.updateTransforms();
        const int culled = _model.frustumCull(viewProjection);
        culledInAll += culled;
        EXPECT_EQ(0, _model.frustumCull(viewProjection)); // marks are only ever added once
        int unseen = 0;
        for (const QMatrix4x4 &matrix : matrices) {
            bool seen = isSeen(viewProjection * matrix, box);
            for (int point = 0; point < 1000 && !seen; ++point) {
                const QVector3D p(-0.5f + float(point % 10) / 9, -0.25f + float(point / 10 % 10) / 9,
                                  -0.5f + float(point / 100) / 9);
                const QVector4D clip = viewProjection * matrix * QVector4D(p, 1.0f);
                seen = std::abs(clip.x()) < clip.w() && std::abs(clip.y()) < clip.w()
                       && std::abs(clip.z()) < clip.w();
            }
            unseen += seen ? 0 : 1;
        }
        EXPECT_LE(culled, unseen);
        _model.resetCulling();
        _model.clear();
    }
    EXPECT_GT(culledInAll, 100);
}

TEST_F(GPUModelTest, MarksCountsAndBoundsAgreeOverARandomSequence)
{
    constexpr int kDrawables = 12;
    constexpr int kCommands = 3;
    constexpr int kAllCommands = kDrawables * kCommands;
    std::mt19937 random(84);
    QVector<GPUModel::BoundingBox> boxes; // each with a least x of its own, by which it is known again
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

TEST_F(GPUModelTest, MirroredCommandsAreDrawnWithTheOppositeFrontFaceAndNothingStaysBound)
{
    GLSLMacroProcessor processor;
    DrawBuffers::setup(&processor);
    ShaderProgram program(nullptr);
    program.setMacroProcessor(&processor);
    program.addShader(GL_VERTEX_SHADER,
                      "#version 150\n#include \"ZelUtilities.glslh\"\n#instancedata \"SceneObject\"\n"
                      "in vec2 va_Vertex;\n"
                      "void main() { gl_Position = getModelMatrix() * vec4(va_Vertex, 0.0, 1.0); }\n",
                      QString());
    program.addShader(GL_VERTEX_SHADER, InstanceDataRegistry::Instance()->getPlan("SceneObject")->glslc(),
                      QString());
    program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.glslc");
    program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.vert");
    program.addShader(GL_FRAGMENT_SHADER,
                      "#version 150\nout vec4 color;\nvoid main() { color = vec4(1.0); }\n", QString());
    ASSERT_TRUE(program.link()) << program.log().toStdString();

    // Left as it is, right mirrored; a third is culled by its size of nothing, a fourth by its visibility.
    QMatrix4x4 nothing;
    nothing.scale(0.0f);
    const int instance =
        addSquares({placed(-1, -1, 1, 2), placed(1, -1, -1, 2), nothing, placed(-1, -1, 2, 2)});
    _model.setVisibility(3, 2);
    _model.updateTransforms();
    EXPECT_EQ(2, _model.visibilityCull());
    EXPECT_EQ(4, _model.drawBuffers(instance)->numDrawCommands());

    QOpenGLFramebufferObject target(8, 8, QOpenGLFramebufferObject::CombinedDepthStencil);
    ASSERT_TRUE(target.bind());
    driver()->glViewport(0, 0, 8, 8);
    for (const WindingType winding : {eWindingCCW, eWindingCW}) {
        driver()->glClearColor(0, 0, 0, 0);
        driver()->glClear(GL_COLOR_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
        ASSERT_TRUE(program.bind());
        EXPECT_TRUE(_model.draw(&program, &_textures, 0, kAll, winding, true));
        ASSERT_TRUE(program.unbind());
        const Pixels picture = Pixels::ofFramebuffer(0, 0, 8, 8);
        EXPECT_TRUE(picture.isNear(1, 4, QVector4D(1, 1, 1, 1), 0.0f)) << winding;
        EXPECT_TRUE(picture.isNear(6, 4, QVector4D(1, 1, 1, 1), 0.0f)) << winding;
        GLubyte stencil = 0;
        driver()->glReadPixels(1, 4, 1, 1, GL_STENCIL_INDEX, GL_UNSIGNED_BYTE, &stencil);
        EXPECT_EQ(1, stencil); // of material number 0
        EXPECT_FALSE(driver()->glIsEnabled(GL_CULL_FACE));
        EXPECT_FALSE(driver()->glIsEnabled(GL_STENCIL_TEST));
        GLint vertexArray = -1;
        driver()->glGetIntegerv(GL_VERTEX_ARRAY_BINDING, &vertexArray);
        EXPECT_EQ(0, vertexArray);
    }
    driver()->glFrontFace(GL_CCW);
    driver()->glDisable(GL_PRIMITIVE_RESTART);
    target.release();
}
