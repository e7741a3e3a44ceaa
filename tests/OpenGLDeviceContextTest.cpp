#include "support/GLFixture.h"
#include "support/TestBuffer.h"

#include <ZelGL/ZelGL.h>

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

TEST_F(OpenGLDeviceContextTest, TheQuadIsTwoTrianglesOverClipSpaceAtTheNearPlane)
{
    const QSharedPointer<DrawBuffers> quad = OpenGLDeviceContext::current()->newFullscreenQuad();
    EXPECT_EQ((std::vector<float>{-1, 1, -1, -1, -1, -1, 1, -1, -1, 1, -1, -1, 1, 1, -1, -1, 1, -1}),
              contentsOf<float>(*quad->VAO()->bo("va_Vertex"), 18));
    EXPECT_EQ(6, quad->numVerts());
    const QSharedPointer<BufferObject> texCoords = quad->VAO()->bo("va_TexCoord");
    EXPECT_EQ((std::vector<float>{0, 1, 0, 0, 1, 0, 1, 0, 1, 1, 0, 1}),
              contentsOf<float>(*texCoords, texCoords->valueCount()));
}
