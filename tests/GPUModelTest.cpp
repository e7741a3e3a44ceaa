#include "support/GLFixture.h"
#include "support/Pixels.h"

#include <ZelGL/BufferObject.h>
#include <ZelGL/DrawBuffers.h>
#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelGL/GLUtilities.h>
#include <ZelGL/GPUModel.h>
#include <ZelGL/InstanceDataCollection.h>
#include <ZelGL/InstanceDataPlan.h>
#include <ZelGL/InstanceDataRegistry.h>
#include <ZelGL/OpenGLDeviceContext.h>
#include <ZelGL/ShaderProgram.h>
#include <ZelGL/TextureManager.h>
#include <ZelGL/VertexArrayObject.h>

#include <QtGui/QOpenGLFramebufferObject>
#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <random>

using namespace Orvane::Zel;

namespace {

constexpr unsigned long long kAll = ~0ull;

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

class GPUModelTest : public GLTest
{
protected:
    GPUModelTest()
    {
        auto *plan = new InstanceDataPlan("SceneObject");
        for (const char *member :
             {"ModelMatrix", "PreviousModelMatrix", "InverseModelMatrix", "ModelNormalMatrix"}) {
            plan->addMember(InstanceDataPlan::eMat4, member);
        }
        plan->setArraySize(32);
        InstanceDataRegistry::Instance()->registerPlan(plan);
        _capture.take(); // the limit
    }

    ~GPUModelTest() override
    {
        _model.clear();
        InstanceDataRegistry::Instance()->clear();
        OpenGLDeviceContext::resetContext();
    }

    InstanceDataCollection *objects(int count)
    {
        auto *plan = InstanceDataRegistry::Instance()->getPlan("SceneObject");
        return new InstanceDataCollection(plan, static_cast<unsigned long>(count));
    }

    /// A unit square in x and y, counter-clockwise, drawn by as many commands.
    DrawBuffers *squares(int count)
    {
        const auto context = OpenGLDeviceContext::current();
        auto *unit = new DrawBuffers(nullptr);
        unit->setVAO(context->newVAO());
        unit->VAO()->upload("va_Vertex", arrayBuffer(GL_ARRAY_BUFFER), QVector<float>{0, 0, 1, 0, 0, 1, 1, 1},
                            2, GL_STATIC_DRAW);
        unit->setPrimitiveType(GL_TRIANGLES);
        const unsigned short indices[] = {0, 1, 2, 2, 1, 3};
        const auto indexBuffer = arrayBuffer(GL_ELEMENT_ARRAY_BUFFER);
        indexBuffer->bind();
        indexBuffer->uploadGLushortData(indices, 6, GL_STATIC_DRAW);
        indexBuffer->unbind();
        unit->setIndexedDraw(indexBuffer, 6, GL_UNSIGNED_SHORT);
        const QVector<DrawElementsIndirectCommand> commands(count, {6, 1, 0, 0, 0});
        unit->setDrawElementsIndirectCommands(commands.constData(), count);
        return unit;
    }

    /// A drawable of squares, each under a transform of its own.
    int addSquares(const QVector<QMatrix4x4> &matrices, unsigned long long flags = 0)
    {
        const int instance =
            _model.add(squares(matrices.size()), 0, nullptr, objects(matrices.size()), flags);
        for (int i = 0; i < matrices.size(); ++i) {
            _model.useTransform(instance, i, _model.addTransform(-1, matrices.at(i)));
        }
        return instance;
    }

    GPUModel _model;
    NoTextures _textures;

private:
    static QSharedPointer<BufferObject> arrayBuffer(unsigned int target)
    {
        const auto buffer = OpenGLDeviceContext::current()->newBuffer();
        buffer->setTarget(target);
        return buffer;
    }
};

QMatrix4x4 placed(float x, float y, float scaleX = 1.0f, float scaleY = 1.0f)
{
    QMatrix4x4 matrix;
    matrix.translate(x, y);
    matrix.scale(scaleX, scaleY);
    return matrix;
}

QMatrix4x4 randomMatrix(std::mt19937 &random)
{
    std::uniform_real_distribution<float> value(-2.0f, 2.0f);
    QMatrix4x4 matrix;
    matrix.translate(value(random), value(random), value(random));
    matrix.rotate(90.0f * value(random), value(random), value(random), 1.0f);
    matrix.scale(1.0f + 0.2f * value(random));
    return matrix;
}

QMatrix4x4 read(const InstanceDataCollection &data, int item, const char *member)
{
    QMatrix4x4 matrix;
    data.get(item, member, matrix.data());
    return matrix;
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
    const std::function<QMatrix4x4(int)> naiveWorld = [&](int transform) {
        const int parent = _model.transformParent(transform);
        return parent < 0 ? _model.localTransform(transform)
                          : naiveWorld(parent) * _model.localTransform(transform);
    };
    for (int frame = 0; frame < 50; ++frame) {
        QVector<QMatrix4x4> before;
        for (int i = 0; i < kTransforms; ++i) {
            before.append(read(data, i, "ModelMatrix"));
        }
        const int moved = static_cast<int>(random() % kTransforms);
        _model.setLocalTransform(moved, randomMatrix(random), false);
        ASSERT_TRUE(_model.isTransformDirty(moved));
        _model.updateTransforms();
        for (int i = 0; i < kTransforms; ++i) {
            ASSERT_FALSE(_model.isTransformDirty(i));
            ASSERT_TRUE(qFuzzyCompare(naiveWorld(i), _model.worldTransform(i))) << frame << ' ' << i;
            ASSERT_EQ(_model.worldTransform(i), read(data, i, "ModelMatrix"));
            ASSERT_EQ(_model.worldTransform(i).inverted(), read(data, i, "InverseModelMatrix"));
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

TEST_F(GPUModelTest, FrustumCullingKeepsEverythingThatHasAPointInView)
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
            bool seen = false;
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
