#include "OffscreenStage.h"

#include <ZelGL/GLUtilities.h>

#include <QtGui/QGuiApplication>
#include <QtGui/QImage>

#include <cstdio>
#include <cstring>

namespace {

std::unique_ptr<QGuiApplication> makeApplication()
{
    static int argc = 1;
    static char name[] = "zel";
    static char *argv[] = {name, nullptr};
    // Qt's "offscreen" platform has no core contexts; X with GLX has, also under Xvfb.
    for (const auto &[variable, value] :
         {std::pair("QT_QPA_PLATFORM", "xcb"), {"QT_XCB_GL_INTEGRATION", "xcb_glx"}}) {
        if (!qEnvironmentVariableIsSet(variable)) {
            qputenv(variable, value);
        }
    }
    return std::make_unique<QGuiApplication>(argc, argv);
}

QSurfaceFormat coreFormat()
{
    QSurfaceFormat format;
    format.setRenderableType(QSurfaceFormat::OpenGL);
    format.setVersion(4, 5);
    format.setProfile(QSurfaceFormat::CoreProfile);
    format.setOption(
        QSurfaceFormat::DeprecatedFunctions); // without it Qt requests a forward-compatible context
    return format;
}

} // namespace

std::unique_ptr<OffscreenStage> OffscreenStage::create(int width, int height)
{
    std::unique_ptr<OffscreenStage> stage(new OffscreenStage);
    if (!stage->make(width, height)) {
        std::fprintf(stderr, "no OpenGL context\n");
        return nullptr;
    }
    return stage;
}

OffscreenStage::OffscreenStage()
    : _application(makeApplication())
{
}

OffscreenStage::~OffscreenStage()
{
    _framebuffer.reset();
    _context.doneCurrent();
}

bool OffscreenStage::make(int width, int height)
{
    _context.setFormat(coreFormat());
    if (!_context.create()) {
        return false;
    }
    _surface.setFormat(_context.format());
    _surface.create();
    if (!_context.makeCurrent(&_surface) || !initializeGLFunctions()) {
        return false;
    }
    const auto *renderer = reinterpret_cast<const char *>(glGetString(GL_RENDERER));
    std::printf("renderer: %s\n", renderer);
    _softwareDriver = std::strstr(renderer, "llvmpipe") != nullptr;
    _framebuffer = std::make_unique<QOpenGLFramebufferObject>(width, height,
                                                              QOpenGLFramebufferObject::CombinedDepthStencil);
    glViewport(0, 0, width, height);
    return _framebuffer->bind();
}

void OffscreenStage::endFrame()
{
    glFlush();
    if (_softwareDriver) {
        glFinish();
    }
}

bool OffscreenStage::save(const QString &file)
{
    return _framebuffer->toImage().save(file);
}
