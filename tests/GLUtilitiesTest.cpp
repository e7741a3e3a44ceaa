#include "support/FakeLoader.h"
#include "support/GLFixture.h"
#include "support/Tap.h"

#include <ZelGL/FramebufferObject.h>
#include <ZelGL/GLUtilities.h>
#include <ZelGL/GLVersions.h>
#include <ZelGL/Texture.h>

using namespace Orvane::Zel;

using GLUtilitiesTest = GLTest;
using GLUtilitiesOwnProcessTest = GLTest; // a context keeps its extensions
using GLErrorTest = GLTest;
using GLDebuggingTest = GLTest;

TEST_F(GLUtilitiesTest, TheVersionTestQueriesTheMinorVersionOnlyIfTheMajorIsEqual)
{
    Tap<&glGetIntegerv> questions;
    questions.replace([](GLenum name, GLint *value) { *value = name == GL_MAJOR_VERSION ? 4 : 3; });
    EXPECT_TRUE(openGlVersionSupported(3, 9));
    EXPECT_FALSE(openGlVersionSupported(5, 0));
    EXPECT_EQ(2u, questions.count());
    EXPECT_TRUE(openGlVersionSupported(4, 3));
    EXPECT_FALSE(openGlVersionSupported(4, 4));
    EXPECT_EQ(6u, questions.count()) << "nothing is remembered";
}

TEST_F(GLUtilitiesOwnProcessTest, AnExtensionIsFoundInEitherSpellingAndReadOncePerContext)
{
    ZEL_NEEDS_EXTENSION("GL_ARB_draw_indirect");
    qunsetenv("ZEL_NO_GL_EXTENSIONS");
    Tap<&glGetStringi> names;
    EXPECT_TRUE(hasGLExtension("GL_ARB_draw_indirect"));
    EXPECT_LT(0u, names.count());
    names.clear();
    EXPECT_TRUE(hasGLExtension("ARB_draw_indirect"));
    EXPECT_FALSE(hasGLExtension("GL_ARB_draw_indirec") || hasGLExtension("gl_ARB_draw_indirect")
                 || hasGLExtension(""));
    EXPECT_EQ(0u, names.count());

    const auto compatible = TestContext::create(TestContext::eCompatibility);
    EXPECT_TRUE(hasGLExtension("GL_ARB_compatibility"));
    makeCurrent();
    EXPECT_FALSE(hasGLExtension("GL_ARB_compatibility"));
    compatible->makeCurrent();
    EXPECT_TRUE(hasGLExtension("GL_ARB_compatibility"));

    qputenv("ZEL_NO_GL_EXTENSIONS", ""); // present, if empty
    EXPECT_TRUE(hasGLExtension("GL_ARB_compatibility"));
    const auto fresh = TestContext::create();
    names.clear();
    EXPECT_FALSE(hasGLExtension("GL_ARB_draw_indirect"));
    EXPECT_EQ(0u, names.count());
    qunsetenv("ZEL_NO_GL_EXTENSIONS");
    EXPECT_FALSE(hasGLExtension("GL_ARB_draw_indirect")) << "the empty set stays";
    EXPECT_NE(0, ogl_ext_ARB_draw_indirect) << "the flags do not depend on the variable";
}

TEST_F(GLUtilitiesTest, TheFramebufferIsLoggedInOneLine)
{
    FramebufferObject framebuffer(nullptr);
    Texture color(nullptr);
    Texture depth(nullptr);
    color.create2D(GL_TEXTURE_2D, GL_RGBA8, 4, 4);
    depth.create2D(GL_TEXTURE_2D, GL_DEPTH_COMPONENT32F, 4, 4);
    const QString start = QString::asprintf("debug logGLFramebuffer() [%p] '", static_cast<void *>(context()))
                          + driverVersion() + "' [fb] ";
    framebuffer.bind();
    framebuffer.attach(&color, GL_COLOR_ATTACHMENT0, 0);
    framebuffer.attach(&depth, GL_DEPTH_ATTACHMENT, 0);
    logGLFramebuffer();
    EXPECT_MESSAGES(start
                    + QString::asprintf("%3d [0] 0x1702 %3d [d] 0x1702 %d", int(framebuffer.getFBO()),
                                        int(color.textureID()), int(depth.textureID())));
    framebuffer.detachAll();
    framebuffer.unbind();
    // The default framebuffer has no such attachment points: the queries fail, and zeros are printed.
    logGLFramebuffer();
    EXPECT_MESSAGES(start + "  0 [0] 0x0000   0 [d] 0x0000 0");
    takeGLErrors();
}

TEST_F(GLErrorTest, AtMostTenErrorsAreLoggedByOneCallEachByName)
{
    int pending = 12;
    Tap<&glGetError> errors;
    errors.replace([&pending]() -> GLenum { return pending-- > 0 ? GL_INVALID_VALUE : GL_NO_ERROR; });
    checkGLError("Host.cpp", 42);
    EXPECT_EQ("[Host.cpp:42] glError: 0x501 'invalid value' caught", _capture.take().value(9).text);
    EXPECT_TRUE(hasGLError("Host.cpp", 43)) << "the eleventh was read and dropped; the twelfth is left";
    EXPECT_MESSAGES("warning [Host.cpp:#] glError: 0x501 'invalid value' caught");
    EXPECT_FALSE(hasGLError("Host.cpp", 44));

    QStringList words = {stringForGLError(0)};
    for (unsigned int code = GL_INVALID_ENUM; code <= GL_INVALID_FRAMEBUFFER_OPERATION; ++code) {
        words += stringForGLError(code);
    }
    EXPECT_EQ("no error, invalid enum, invalid value, invalid operation, unknown error, unknown error, "
              "out of memory, invalid framebuffer operation",
              words.join(", "));
}

namespace {

/// The debug functions of a driver that only takes notes.
struct DebugDriver
{
    static inline QStringList calls;
    static inline GLDEBUGPROCARB callback = nullptr;

    static void APIENTRY control(GLenum source, GLenum type, GLenum severity, GLsizei count,
                                 const GLuint *ids, GLboolean enabled)
    {
        const int id = count == 0 ? 0 : int(ids[count - 1]);
        calls += QString::asprintf("control %x %x %x %d*%d %d", source, type, severity, count, id, enabled);
    }

    static void APIENTRY install(GLDEBUGPROCARB function, const void *user)
    {
        calls += QString("callback ") + (user == nullptr ? "without" : "with") + " parameter";
        callback = function;
    }

    static void provideBy(FakeLoader &loader)
    {
        loader.provide("glDebugMessageControlARB", &control);
        loader.provide("glDebugMessageCallbackARB", &install);
    }
};

} // namespace

TEST_F(GLDebuggingTest, AllButGroupsAndOneMessageIsSwitchedOnOrNothingIfAFunctionIsMissing)
{
    FakeLoader loader;
    loader.hide("glDebugMessageControlARB");
    loader.hide("glDebugMessageCallbackARB");
    EXPECT_FALSE(initializeGLDebugging());
    EXPECT_MESSAGES("debug [GLUtilities.cpp:#] Failed to obtain 'glDebugMessageControlARB'");
    EXPECT_EQ(1, loader.takeLookUps().size()) << "the second is not looked up";
    DebugDriver::calls.clear();
    DebugDriver::provideBy(loader);
    loader.hide("glDebugMessageCallbackARB");
    EXPECT_FALSE(initializeGLDebugging());
    EXPECT_MESSAGES("debug [GLUtilities.cpp:#] Failed to obtain 'glDebugMessageCallbackARB'");
    EXPECT_EQ(QStringList(), DebugDriver::calls);

    DebugDriver::provideBy(loader);
    Tap<&glEnable> enables;
    enables.replace(
        [](GLenum capability) { DebugDriver::calls += QString::asprintf("enable %x", capability); });
    EXPECT_TRUE(initializeGLDebugging());
    EXPECT_EQ(QStringList({"control 1100 1100 1100 0*0 1", "control 1100 8269 826b 0*0 0",
                           "control 1100 826a 826b 0*0 0", "control 8246 8251 1100 1*131185 0",
                           "callback without parameter", "enable 8242"}),
              DebugDriver::calls);
}

TEST_F(GLDebuggingTest, ADriverMessageIsPutIntoWords)
{
    FakeLoader loader;
    DebugDriver::provideBy(loader);
    ASSERT_TRUE(initializeGLDebugging());
    const QStringList sources{"api",        "window system", "shader compiler",
                              "thirdparty", "application",   "other"};
    const QString words(
        "error,deprecated behaviour,undefined behaviour,portability,performance,other,<unknown>,"
        "marker,push group,pop group");
    const QStringList types = words.split(',');
    const QStringList severities{"high", "medium", "low", "<unknown>"};
    for (int i = 0; i < types.size(); ++i) { // in the order of the numbers of GL
        DebugDriver::callback(GLenum(0x8246 + i), GLenum((i < 7 ? 0x824C : 0x8261) + i), 0x1f,
                              i < 4 ? GLenum(0x9146 + i) : 0x826B, 4, "text", nullptr);
        EXPECT_MESSAGES(
            QString("debug [GLUtilities.cpp:#] OpenGL message [id=0x1f, source=%1, type=%2, "
                    "severity=%3]: text")
                .arg(sources.value(i, "<unknown>"), types.at(i), severities.value(i, "notification")));
    }
}

TEST_F(GLDebuggingTest, TheDriverReportsInTheCallThatIsWrong)
{
    ASSERT_TRUE(initializeGLDebugging());
    glEnable(GL_TEXTURE_2D_ARRAY);
    EXPECT_MESSAGES(startsWith("debug [GLUtilities.cpp:#] OpenGL message [id=0x"));
    TestContext::watchDriver();
    EXPECT_EQ(std::vector<GLenum>{GL_INVALID_ENUM}, takeGLErrors());
}

TEST(GLVersionsTest, TheVersionIsThatOfTheProject)
{
    EXPECT_EQ(ZELGL_PROJECT_VERSION, GLVersions::getVersion());
    EXPECT_EQ("", GLVersions::getGitHash());
    EXPECT_EQ("1", GLVersions::getMd5Sum());
    EXPECT_EQ(nullptr, zelGetMemory());
}
