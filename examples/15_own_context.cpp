// A host without Qt's windows: Xlib opens the window, and GLX makes the context.
//
// The library needs no context of its own and none of Qt: initializeGLFunctions() loads the functions of the one that is
// current. With "--offscreen FILE" the window stays hidden, and a RenderTarget holds the picture.

#include "Programs.h"
#include "Show.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/ZelKit.h>

#include <QtCore/QElapsedTimer>

#include <GL/glx.h>
#include <X11/keysym.h> // after Qt: Xlib defines macros such as None

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;

namespace {

void drawWaves(ShaderProgram &program, const QSize &size, float seconds)
{
    glViewport(0, 0, size.width(), size.height());
    DrawScope scope(&program);
    program.setUniform("u_Aspect", float(size.width()) / float(size.height()));
    program.setUniform("u_Seconds", seconds);
    scope.draw(OpenGLDeviceContext::current()->fullscreenQuad().data());
}

/// Draws until Escape is pressed.
void show(ShaderProgram &program, Display *display, Window window)
{
    XSelectInput(display, window, KeyPressMask);
    XMapWindow(display, window);
    QElapsedTimer clock;
    clock.start();
    XEvent event;
    while (!XCheckMaskEvent(display, KeyPressMask, &event) || XLookupKeysym(&event.xkey, 0) != XK_Escape) {
        XWindowAttributes now;
        XGetWindowAttributes(display, window, &now);
        drawWaves(program, QSize(now.width, now.height), float(clock.elapsed()) / 1000.0f);
        glXSwapBuffers(display, window);
    }
}

/// Null, unless X has a visual with two buffers and a core profile of OpenGL 3.2.
GLXContext makeContext(Display *display, GLXFBConfig *config)
{
    const int wanted[] = {GLX_DOUBLEBUFFER, True, GLX_RED_SIZE, 8, None};
    const int core[] = {GLX_CONTEXT_MAJOR_VERSION_ARB, 3, GLX_CONTEXT_MINOR_VERSION_ARB, 2, None};
    const auto create = reinterpret_cast<PFNGLXCREATECONTEXTATTRIBSARBPROC>(
        glXGetProcAddress(reinterpret_cast<const GLubyte *>("glXCreateContextAttribsARB")));
    int count = 0;
    GLXFBConfig *configs = glXChooseFBConfig(display, DefaultScreen(display), wanted, &count);
    *config = count > 0 ? configs[0] : nullptr;
    XFree(configs);
    return count > 0 ? create(display, *config, nullptr, True, core) : nullptr;
}

} // namespace

int main(int argc, char **argv)
{
    const QString file = readPictureFile(argc, argv);
    const MessageLog log;
    Display *display = XOpenDisplay(nullptr);
    GLXFBConfig config;
    const GLXContext context = display != nullptr ? makeContext(display, &config) : nullptr;
    if (context == nullptr) {
        return qCritical("X has no core profile of OpenGL 3.2"), 1;
    }
    XVisualInfo *visual = glXGetVisualFromFBConfig(display, config);
    XSetWindowAttributes attributes = {};
    attributes.colormap = XCreateColormap(display, DefaultRootWindow(display), visual->visual, AllocNone);
    const Window window = XCreateWindow(display, DefaultRootWindow(display), 0, 0, 960, 540, 0, visual->depth,
                                        InputOutput, visual->visual, CWColormap | CWBorderPixel, &attributes);
    glXMakeCurrent(display, window, context);
    QImage picture;
    if (initializeGLFunctions()) {
        const auto program = makeProgram("passthroughVS.glslc", "15_own_context.frag");
        if (file.isEmpty()) {
            show(*program, display, window);
        } else {
            picture = RenderTarget::picture(windowSize(), [&] { drawWaves(*program, windowSize(), 1.5f); });
        }
    }
    OpenGLDeviceContext::resetContext();
    glXMakeCurrent(display, None, nullptr);
    glXDestroyContext(display, context);
    XFree(visual);
    XCloseDisplay(display); // and the window
    return file.isEmpty() ? 0 : savePicture(picture, file, log);
}
