#include "ContextBackend.h"

#include "Failure.h"

#define EGL_NO_X11 // the headers of X define names such as None
#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <array>
#include <atomic>
#include <cstring>

namespace Orvane { namespace ZelKit {

namespace {

std::atomic<bool> gExists{false};

bool hasClientExtension(const char *name)
{
    const char *extensions = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
    return extensions != nullptr && std::strstr(extensions, name) != nullptr;
}

/// A display that is ready for use, or none.
EGLDisplay open(EGLenum platform, void *native)
{
    EGLDisplay display = eglGetPlatformDisplay(platform, native, nullptr);
    return eglInitialize(display, nullptr, nullptr) == EGL_TRUE ? display : EGL_NO_DISPLAY;
}

/// The first device that can be opened, for drivers without a surfaceless platform.
EGLDisplay openDevice()
{
    const auto queryDevices =
        reinterpret_cast<PFNEGLQUERYDEVICESEXTPROC>(eglGetProcAddress("eglQueryDevicesEXT"));
    std::array<EGLDeviceEXT, 16> devices = {};
    EGLint count = 0;
    if (!hasClientExtension("EGL_EXT_platform_device") || queryDevices == nullptr
        || queryDevices(EGLint(devices.size()), devices.data(), &count) == EGL_FALSE) {
        return EGL_NO_DISPLAY;
    }
    EGLDisplay display = EGL_NO_DISPLAY;
    for (int i = 0; i < count && display == EGL_NO_DISPLAY; ++i) {
        display = open(EGL_PLATFORM_DEVICE_EXT, devices.at(size_t(i)));
    }
    return display;
}

EGLDisplay openDisplay()
{
    EGLDisplay display = hasClientExtension("EGL_MESA_platform_surfaceless")
                             ? open(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY)
                             : EGL_NO_DISPLAY;
    return display != EGL_NO_DISPLAY ? display : openDevice();
}

/// Never calls eglTerminate(): the display may be in use by other code of the process.
class EglContext : public ContextBackend
{
public:
    explicit EglContext(EGLDisplay display)
        : _display(display)
    {
        gExists = true;
    }

    ~EglContext() override
    {
        if (isCurrent()) {
            doneCurrent();
        }
        if (_context != EGL_NO_CONTEXT) {
            eglDestroyContext(_display, _context);
        }
        gExists = false;
    }

    bool create(const Options &options)
    {
        const EGLint surfaces[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT,
                                   EGL_NONE};
        const EGLint attributes[] = {EGL_CONTEXT_MAJOR_VERSION,
                                     options.majorVersion,
                                     EGL_CONTEXT_MINOR_VERSION,
                                     options.minorVersion,
                                     EGL_CONTEXT_OPENGL_PROFILE_MASK,
                                     options.profile == HeadlessContext::eCore
                                         ? EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT
                                         : EGL_CONTEXT_OPENGL_COMPATIBILITY_PROFILE_BIT,
                                     EGL_CONTEXT_OPENGL_DEBUG,
                                     options.isDebug ? EGL_TRUE : EGL_FALSE,
                                     EGL_NONE};
        EGLConfig config = nullptr;
        EGLint count = 0;
        if (eglBindAPI(EGL_OPENGL_API) == EGL_FALSE
            || eglChooseConfig(_display, surfaces, &config, 1, &count) == EGL_FALSE || count == 0) {
            return false;
        }
        _context = eglCreateContext(_display, config, EGL_NO_CONTEXT, attributes);
        return _context != EGL_NO_CONTEXT;
    }

    bool makeCurrent() override
    {
        return eglMakeCurrent(_display, EGL_NO_SURFACE, EGL_NO_SURFACE, _context) == EGL_TRUE;
    }
    void doneCurrent() override
    {
        eglBindAPI(EGL_OPENGL_API); // the thread may be another one
        eglMakeCurrent(_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    }
    bool isCurrent() const override
    {
        eglBindAPI(EGL_OPENGL_API);
        return _context != EGL_NO_CONTEXT && eglGetCurrentContext() == _context;
    }
    PFNGLGETINTEGERVPROC integerQuery() const override
    {
        return reinterpret_cast<PFNGLGETINTEGERVPROC>(eglGetProcAddress("glGetIntegerv"));
    }

private:
    EGLDisplay _display;
    EGLContext _context = EGL_NO_CONTEXT;
};

} // namespace

std::unique_ptr<ContextBackend> ContextBackend::createEgl(const Options &options, QString *error)
{
    if (options.shared != nullptr || gExists) {
        fail(error, QStringLiteral("only one EGL context can exist at a time, since ZelGL cannot distinguish "
                                   "them; use GLX for several, or delete the first one"));
        return nullptr;
    }
    EGLDisplay display = openDisplay();
    if (display == EGL_NO_DISPLAY) {
        fail(error, QStringLiteral("EGL cannot draw without a display: the driver lacks "
                                   "EGL_MESA_platform_surfaceless and EGL_EXT_platform_device; start an X "
                                   "server, and set DISPLAY"));
        return nullptr;
    }
    auto context = std::make_unique<EglContext>(display);
    if (!context->create(options)) {
        fail(error, describeMissing(options));
        return nullptr;
    }
    return context;
}

}} // namespace Orvane::ZelKit
