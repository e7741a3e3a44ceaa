#pragma once

#include <QtGui/QOffscreenSurface>
#include <QtGui/QOpenGLContext>
#include <QtGui/qopengl.h>

#include <QtCore/QStringList>

#include <memory>
#include <vector>

class QOpenGLFunctions_3_2_Core;

/// Skips the running test when the condition holds and the driver lacks an extension, which the library may not see.
#define ZEL_NEEDS_EXTENSION_IF(condition, name)                                                              \
    if ((condition) && !QOpenGLContext::currentContext()->hasExtension(name))                                \
    GTEST_SKIP() << "Needs " name
#define ZEL_NEEDS_EXTENSION(name) ZEL_NEEDS_EXTENSION_IF(true, name)

/// Whether this run of the suite is for a driver of OpenGL 3.2 without later extensions.
inline bool isForOpenGL32()
{
    return qgetenv("ZELGL_TEST_DRIVER") == "opengl-3.2";
}

/// A context of its own surface: version 4.5 or the best below, with the debug bit, never forward-compatible.
///
/// What the driver reports through GL debug output as an error, as deprecated or as undefined behaviour is
/// collected, whichever context it comes from.
class TestContext
{
    Q_DISABLE_COPY(TestContext)

public:
    enum Profile { eCore, eCompatibility };

    /// Makes the context, and the application object if it is the first, and leaves it current. Null, with a
    /// failure of the running test, when there is none or when it is not what was asked for.
    static std::unique_ptr<TestContext> create(Profile profile = eCore);
    ~TestContext();

    bool makeCurrent();
    void doneCurrent();

    QOpenGLContext *context() { return &_context; }

    /// Installs the collecting debug callback in the current context, again where something else replaced it.
    static void watchDriver();

    /// What the driver reported since the last call.
    static QStringList takeDriverReports();

    /// Makes the application object, if there is none.
    static void ensureApplication();

    /// Ends it; at the end of the process.
    static void endApplication();

private:
    TestContext() = default;

    bool make(Profile profile);
    bool isAsAsked(Profile profile);

    QOffscreenSurface _surface;
    QOpenGLContext _context;
};

/// The driver's own functions of the current context, past the library's table and past all hooks.
QOpenGLFunctions_3_2_Core *driver();

/// What glGetIntegerv() answers for a single value.
GLint integerOf(GLenum name);

/// GL_VERSION of the current context.
QString driverVersion();

/// The pending GL errors of the current context, which are cleared with the driver's reports about them.
std::vector<GLenum> takeGLErrors();
