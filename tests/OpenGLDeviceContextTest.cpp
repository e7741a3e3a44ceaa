#include "support/DrawnPixels.h"
#include "support/GLFixture.h"
#include "support/TestProgram.h"

#include <ZelGL/ZelGL.h>

#include <QtCore/QPointer>

using namespace Orvane::Zel;

namespace {

/// A host's own factory.
class CountingContext : public OpenGLDeviceContext
{
public:
    QSharedPointer<BufferObject> newBuffer() override { return ++buffers, OpenGLDeviceContext::newBuffer(); }
    QSharedPointer<DrawBuffers> newFullscreenQuad() override
    {
        return ++quads, OpenGLDeviceContext::newFullscreenQuad();
    }

    int buffers = 0;
    int quads = 0;
};

using OpenGLDeviceContextTest = GLTest;

} // namespace

TEST_F(OpenGLDeviceContextTest, MakesPlainObjectsWithoutAParent)
{
    const QSharedPointer<OpenGLDeviceContext> factory = OpenGLDeviceContext::current();
    ASSERT_FALSE(factory.isNull());
    const QSharedPointer<BufferObject> owner = factory->newBuffer();
    const QSharedPointer<BufferObject> wrapper = factory->newBuffer(owner->getBO());
    EXPECT_EQ(owner->getBO(), wrapper->getBO());
    EXPECT_EQ(1, BufferObject::NumAliveManaged());
    EXPECT_EQ(nullptr, owner->parent());
    const QSharedPointer<UniformBufferObject> uniforms = factory->newUniformBuffer("Block", owner);
    EXPECT_EQ(owner, uniforms->bufferObject());
    QPointer<VertexArrayObject> tracker;
    {
        const QSharedPointer<VertexArrayObject> vao = factory->newVAO();
        tracker = vao.data();
        EXPECT_EQ(0u, vao->getVAO());
    }
    EXPECT_TRUE(tracker.isNull());
}

TEST_F(OpenGLDeviceContextTest, TheQuadIsSharedUntilTheContextIsResetAndAHostsFactoryMakesItsBuffers)
{
    QWeakPointer<DrawBuffers> quad = OpenGLDeviceContext::current()->fullscreenQuad();
    EXPECT_EQ(quad, OpenGLDeviceContext::current()->fullscreenQuad());
    EXPECT_EQ(1, DrawBuffers::NumAlive());
    OpenGLDeviceContext::resetContext();
    EXPECT_TRUE(quad.isNull());
    EXPECT_EQ(0, ledger().alive()) << "its GL objects went with it";
    EXPECT_FALSE(OpenGLDeviceContext::current()->fullscreenQuad().isNull());

    CountingContext factory;
    EXPECT_EQ(factory.fullscreenQuad(), factory.fullscreenQuad());
    EXPECT_EQ(1, factory.quads);
    EXPECT_EQ(2, factory.buffers);
}

TEST_F(OpenGLDeviceContextTest, TheQuadCoversThePictureAtTheNearPlane)
{
    const auto program =
        makeProgram("#version 150\n"
                    "in vec3 va_Vertex; in vec2 va_TexCoord; out vec2 vo_TexCoord;\n"
                    "void main() { vo_TexCoord = va_TexCoord; gl_Position = vec4(va_Vertex, 1.0); }\n",
                    "#version 150\n"
                    "in vec2 vo_TexCoord; out vec4 color;\n"
                    "void main() { color = vec4(vo_TexCoord, gl_FragCoord.z, 1.0); }\n");
    ASSERT_TRUE(program->bind());
    constexpr int kSize = 8;
    const Pixels drawn = drawnPixels(*program, kSize, kSize);
    EXPECT_TRUE(program->unbind());
    const Pixels expected = Pixels::of(kSize, kSize, [](int x, int y) {
        return QVector4D((float(x) + 0.5f) / kSize, (float(y) + 0.5f) / kSize, 0.0f, 1.0f);
    });
    EXPECT_TRUE(drawn.isNear(expected, 1e-5f));
}
