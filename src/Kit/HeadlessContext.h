#pragma once

#include "KitExport.h"

#include <QtCore/QString>

#include <memory>

class QOpenGLContext;

namespace Orvane { namespace ZelKit {

class ContextBackend;

/// A current OpenGL context without a window: of GLX if there is a display, of EGL without X.
///
/// It has no usable framebuffer of its own: draw into a RenderTarget. The version is the newest that the driver has for
/// the profile. The context is never forward-compatible, so wide lines remain.
///
/// \snippet kit.cpp HeadlessContext
///
/// - Units: none.
/// - Context: create and delete in the thread of the application object. No GLX context may be current in a thread that makes an
///   EGL context current. libZelGL cannot distinguish EGL contexts, so only one can exist at a time.
/// - Errors: create() returns null, and explains why.
class ZELKIT_EXPORT HeadlessContext
{
    Q_DISABLE_COPY(HeadlessContext)

public:
    /// eAnyPlatform: GLX if the application object uses X or, without an application object, if there is a display; else EGL.
    enum Platform { eAnyPlatform, eGLX, eEGL };
    enum Profile { eCore, eCompatibility };
    enum Purpose { eForPictures, eForWindows };

    struct Options
    {
        Platform platform = eAnyPlatform;
        Profile profile = eCore;
        int majorVersion = 3; ///< at least
        int minorVersion = 2;
        bool isDebug = false; ///< for initializeGLDebugging()

        /// Shares textures, buffers and programs with this context, which needs GLX too. Null: with none.
        HeadlessContext *shared = nullptr;

        /// Calls initializeGLFunctions(). The destructor releases the library's full-screen quad if the context is current.
        bool startsLibrary = true;
    };

    /// Makes a context, and makes it current. GLX needs a QGuiApplication: without an application object, there is one from
    /// the first to the last context. EGL needs none.
    static std::unique_ptr<HeadlessContext> create(const Options &options, QString *error = nullptr);
    static std::unique_ptr<HeadlessContext> create(QString *error = nullptr)
    {
        return create(Options(), error);
    }
    ~HeadlessContext();

    /// Selects Qt's platform for a QGuiApplication, unless the environment selects one: X with GLX for windows, and for
    /// pictures if there is a display; else a platform that needs none. Unless the host has set QSurfaceFormat::defaultFormat(),
    /// sets it too, so that windows and widgets get a core profile with depth and stencil. Call it before the application object
    /// exists.
    ///
    /// \a isDebug: windows get debug contexts, for initializeGLDebugging().
    static void choosePlatform(Purpose purpose = eForPictures, bool isDebug = false);

    bool makeCurrent();
    void doneCurrent();
    bool isCurrent() const;

    /// eGLX or eEGL.
    Platform platform() const;

    /// Null with EGL.
    QOpenGLContext *qtContext() const;

private:
    ZELKIT_NO_EXPORT HeadlessContext(std::unique_ptr<ContextBackend> backend, bool hasStartedLibrary);

    std::unique_ptr<ContextBackend> _backend;
    bool _hasStartedLibrary;
};

}} // namespace Orvane::ZelKit
