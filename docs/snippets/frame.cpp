#include "SnippetsTest.h"

#include <ZelGL/AutoBinder.h>
#include <ZelGL/AutoDisabler.h>
#include <ZelGL/AutoEnabler.h>
#include <ZelGL/GLContextTracker.h>
#include <ZelGL/GLUtilities.h>
#include <ZelGL/GLVersions.h>

#include <QtCore/QFile>

using namespace Orvane::Zel;

namespace {

const QVector4D kBlack(0, 0, 0, 0);
const QVector4D kRed(1, 0, 0, 1);

//! [GLUtilities]
/// Call it once, with the first context current, before anything else of the library.
bool startGraphics()
{
    if (!initializeGLFunctions() || !openGlVersionSupported(3, 2)) {
        return false;
    }
    initializeGLDebugging(); // from now on the log has the messages of a debug context
    return true;
}
//! [GLUtilities]

//! [Reporting]
bool loadMesh(const QString &path)
{
    ZEL_ASSERT_RETURN(!path.isEmpty(), false, "A mesh needs a path");
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        ZEL_LOG_WARNING("Cannot read the mesh %s", qPrintable(path));
        return false;
    }
    ZEL_LOG_DEBUG("%s: %lld bytes", qPrintable(path), file.size());
    return true;
}
//! [Reporting]

//! [GLContextTracker]
/// A texture that refuses to be used with a context that is not its own.
class Thumbnail
{
public:
    Thumbnail() { _tracker.trackCurrentContext(); }

    Texture *texture() { return _tracker.check() ? &_texture : nullptr; }

private:
    GLContextTracker _tracker{nullptr};
    Texture _texture{nullptr};
};
//! [GLContextTracker]

//! [Bindable]
/// Draws the edges of triangles only while it is bound; AutoBinder takes it like any wrapper.
class Wireframe : public Bindable
{
public:
    bool bind() override
    {
        glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
        return true;
    }
    bool unbind() override
    {
        glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
        return true;
    }
};
//! [Bindable]

} // namespace

TEST_F(SnippetsTest, GLUtilities)
{
    ASSERT_TRUE(startGraphics());
    glEnable(GL_TEXTURE_2D); // not a capability of the core profile
    EXPECT_EQ(std::vector<GLenum>{GL_INVALID_ENUM}, takeGLErrors());
    EXPECT_MESSAGES(startsWith("debug [GLUtilities.cpp:#] OpenGL message "));
    TestContext::watchDriver();
}

TEST_F(SnippetsTest, GLVersions)
{
    //! [GLVersions]
    // Stored program binaries are usable with the same library and the same driver only.
    const auto *driver = reinterpret_cast<const char *>(glGetString(GL_VERSION));
    const QString cacheFolder = QString("zel-%1-%2").arg(GLVersions::getVersion(), driver);
    //! [GLVersions]
    EXPECT_EQ("zel-1.0.0-" + driverVersion(), cacheFolder);
}

TEST_F(SnippetsTest, GLContextTracker)
{
    Thumbnail thumbnail;
    EXPECT_NE(nullptr, thumbnail.texture());
    const auto other = TestContext::create();
    EXPECT_EQ(nullptr, thumbnail.texture());
    makeCurrent();
    EXPECT_NE(nullptr, thumbnail.texture());
}

TEST_F(SnippetsTest, Reporting)
{
    EXPECT_FALSE(loadMesh(QString()));
    EXPECT_MESSAGES("critical [frame.cpp:#] [ !! ] Assertion '!path.isEmpty()' failed: A mesh needs a path");
    EXPECT_FALSE(loadMesh("absent.obj"));
    EXPECT_MESSAGES("warning [frame.cpp:#] Cannot read the mesh absent.obj");
}

TEST_F(SnippetsTest, Bindable)
{
    const auto program = makeProgram(kAllOver);
    Canvas canvas;
    Wireframe wireframe;
    const AutoBinder boundProgram(program.get());
    {
        const AutoBinder boundWireframe(&wireframe);
        canvas.draw(*program);
    }
    EXPECT_TRUE(canvas.pixels().isNear(4, 1, kBlack, 0));
    canvas.draw(*program);
    EXPECT_TRUE(canvas.pixels().isNear(4, 1, {1, 1, 1, 1}, 0));
}

TEST_F(SnippetsTest, AutoBinder)
{
    Texture texture(GL_TEXTURE_2D, GL_RGBA8, 4, 4, 0, nullptr);
    //! [AutoBinder]
    {
        const AutoBinder binder(&texture);
        glTexParameteri(texture.target(), GL_TEXTURE_WRAP_S, GL_MIRRORED_REPEAT);
    } // every way out of the scope releases the texture unit
    //! [AutoBinder]
    EXPECT_FALSE(texture.isBound());
    EXPECT_EQ(GL_MIRRORED_REPEAT, textureParameter(texture, GL_TEXTURE_WRAP_S));
}

TEST_F(SnippetsTest, AutoEnabler)
{
    Canvas canvas;
    //! [AutoEnabler]
    {
        const AutoEnabler scissorTest(GL_SCISSOR_TEST);
        glScissor(0, 0, 4, 8);
        glClearColor(1, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
    } // the scissor test is on or off as before
    //! [AutoEnabler]
    EXPECT_TRUE(canvas.pixels().isNear(3, 0, kRed, 0));
    EXPECT_TRUE(canvas.pixels().isNear(4, 0, kBlack, 0));
    EXPECT_FALSE(glIsEnabled(GL_SCISSOR_TEST));
    glClearColor(0, 0, 0, 0);
}

TEST_F(SnippetsTest, AutoDisabler)
{
    Canvas canvas;
    glEnable(GL_SCISSOR_TEST);
    glScissor(0, 0, 1, 1);
    //! [AutoDisabler]
    {
        const AutoDisabler scissorTest(GL_SCISSOR_TEST);
        glClearColor(1, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT); // the whole framebuffer, whatever the caller clips
    }                                 // the scissor test is on or off as before
    //! [AutoDisabler]
    EXPECT_TRUE(canvas.pixels().isNear(7, 7, kRed, 0));
    EXPECT_TRUE(glIsEnabled(GL_SCISSOR_TEST));
    glDisable(GL_SCISSOR_TEST);
    glClearColor(0, 0, 0, 0);
}
