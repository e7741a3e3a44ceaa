#include "OffscreenStage.h"

#include <ZelGL/GLUtilities.h>

#include <QtGui/QImage>

#include <cstdio>
#include <cstring>

using Orvane::ZelKit::HeadlessContext;

std::unique_ptr<OffscreenStage> OffscreenStage::create(int width, int height)
{
    std::unique_ptr<OffscreenStage> stage(new OffscreenStage);
    if (!stage->make(width, height)) {
        std::fprintf(stderr, "no OpenGL context\n");
        return nullptr;
    }
    return stage;
}

OffscreenStage::~OffscreenStage() = default;

bool OffscreenStage::make(int width, int height)
{
    HeadlessContext::Options options;
    options.platform = HeadlessContext::eGLX; // the framebuffer is Qt's
    _context = HeadlessContext::create(options);
    if (_context == nullptr) {
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
