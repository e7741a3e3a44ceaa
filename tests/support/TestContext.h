#pragma once

#include <QtGui/QOpenGLContext>
#include <QtGui/qopengl.h>

#include <QtCore/QStringList>

#include <memory>
#include <vector>

class QOpenGLFunctions_3_2_Core;

namespace Orvane { namespace ZelKit {
class HeadlessContext;
}} // namespace Orvane::ZelKit

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

/// A debug context of GLX, of the newest version, that has not initialised the library.
///
/// Collects what the driver reports through GL debug output as an error, as deprecated or as undefined behaviour, in any
/// context.
class TestContext
{
    Q_DISABLE_COPY(TestContext)

public:
    enum Profile { eCore, eCompatibility };

    /// Creates a context and makes it current; first creates the application object if there is none. Returns null, and fails
    /// the running test, if the driver cannot provide such a context.
    static std::unique_ptr<TestContext> create(Profile profile = eCore);
    ~TestContext();

    bool makeCurrent();
    void doneCurrent();

    QOpenGLContext *context();

    /// Installs the collecting debug callback in the current context, also if another callback has replaced it.
    static void watchDriver();

    /// The reports of the driver since the last call.
    static QStringList takeDriverReports();

    /// Creates the application object if there is none.
    static void ensureApplication();

    /// Deletes the application object. Call it at the end of the process.
    static void endApplication();

private:
    explicit TestContext(std::unique_ptr<Orvane::ZelKit::HeadlessContext> context);

    std::unique_ptr<Orvane::ZelKit::HeadlessContext> _context;
};

/// The driver's functions of the current context, without the library's table and all hooks.
QOpenGLFunctions_3_2_Core *driver();

/// A single value by glGetIntegerv().
GLint integerOf(GLenum name);

/// GL_VERSION of the current context.
QString driverVersion();

/// Returns and clears the pending GL errors of the current context, and the driver's reports about them.
std::vector<GLenum> takeGLErrors();
