#include "Picker.h"

#include "private/Failure.h"
#include "private/Library.h"
#include "private/OwnContext.h"
#include "private/SavedTarget.h"

#include <ZelGL/ZelGL.h>

#include <algorithm>

using namespace Orvane::Zel;

namespace Orvane { namespace ZelKit {

namespace {

constexpr int kMaxInStencil = 255; ///< and of all greater numbers

int readStencil()
{
    GLubyte value = 0;
    glReadPixels(0, 0, 1, 1, GL_STENCIL_INDEX, GL_UNSIGNED_BYTE, &value);
    return value;
}

/// The position that the centre of the pixel shows, in the world.
QVector3D readPosition(const QMatrix4x4 &viewProjection)
{
    float depth = 1.0f;
    glReadPixels(0, 0, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
    return viewProjection.inverted().map(QVector3D(0.0f, 0.0f, 2.0f * depth - 1.0f));
}

/// Finds the number that the pixel shows among those that the stencil cannot distinguish. Draws halves of them again: what
/// the pixel shows passes the depth test with its own depth.
int findAmong(QList<int> numbers, const Picker::Draw &draw)
{
    glDepthFunc(GL_LEQUAL);
    while (numbers.size() > 1) {
        const QList<int> half = numbers.mid(0, numbers.size() / 2);
        constexpr GLint kNone = 0;
        glClearBufferiv(GL_STENCIL, 0, &kNone);
        draw(half);
        numbers = readStencil() != 0 ? half : numbers.mid(half.size());
    }
    glDepthFunc(GL_LESS);
    return numbers.first();
}

} // namespace

QMatrix4x4 Picker::closeUp(const QMatrix4x4 &projection, const QPoint &pixel, const QSize &viewport)
{
    const float x = 2.0f * (float(pixel.x()) + 0.5f) / float(viewport.width()) - 1.0f;
    const float y = 1.0f - 2.0f * (float(pixel.y()) + 0.5f) / float(viewport.height());
    QMatrix4x4 matrix;
    matrix.scale(float(viewport.width()), float(viewport.height()), 1.0f);
    matrix.translate(-x, -y, 0.0f);
    return matrix * projection;
}

Picker::Picker()
    : _context(std::make_unique<OwnContext>())
{
    if (!isLibraryReady(nullptr)) {
        return;
    }
    glGenRenderbuffers(1, &_depthStencil);
    glBindRenderbuffer(GL_RENDERBUFFER, _depthStencil);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH24_STENCIL8, 1, 1);
    glBindRenderbuffer(GL_RENDERBUFFER, 0);
    glGenFramebuffers(1, &_framebuffer);
    const SavedTarget saved;
    glBindFramebuffer(GL_FRAMEBUFFER, _framebuffer);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER, _depthStencil);
    glDrawBuffer(GL_NONE);
    glReadBuffer(GL_NONE);
}

Picker::~Picker()
{
    if (_framebuffer == 0 || !_context->isCurrent("picker")) { // names are those of its context
        return;
    }
    glDeleteFramebuffers(1, &_framebuffer);
    glDeleteRenderbuffers(1, &_depthStencil);
}

std::optional<Picker::Hit> Picker::find(const QMatrix4x4 &viewProjection, const QList<int> &numbers,
                                        const Draw &draw)
{
    if (_framebuffer == 0 || !draw) {
        fail(nullptr,
             QStringLiteral("the picker needs a function that draws, and a context when it is created"));
        return {};
    }
    if (!isLibraryReady(nullptr) || !_context->isCurrent("picker")) {
        return {};
    }
    const SavedTarget saved;
    const AutoEnabler depthTest(GL_DEPTH_TEST);
    const AutoDisabler noScissor(GL_SCISSOR_TEST);
    glBindFramebuffer(GL_FRAMEBUFFER, _framebuffer);
    glViewport(0, 0, 1, 1);
    glDepthFunc(GL_LESS);
    glDepthMask(GL_TRUE);
    glStencilMask(kMaxInStencil);
    glClearBufferfi(GL_DEPTH_STENCIL, 0, 1.0f, 0);
    draw(numbers);
    const int value = readStencil();
    if (value == 0) {
        return {};
    }
    const QVector3D position = readPosition(viewProjection);
    if (value < kMaxInStencil) {
        return Hit{value - 1, position};
    }
    QList<int> large;
    std::copy_if(numbers.begin(), numbers.end(), std::back_inserter(large),
                 [](int number) { return number >= kMaxInStencil - 1; });
    if (large.isEmpty()) {
        fail(nullptr, QStringLiteral("the pixel shows a number that the picker was not asked for"));
        return {};
    }
    return Hit{findAmong(large, draw), position};
}

}} // namespace Orvane::ZelKit
