#include "AmbientOcclusion.h"

#include "RenderTarget.h"
#include "private/Checks.h"
#include "private/FullscreenProgram.h"
#include "private/Orphans.h"

#include <ZelGL/ZelGL.h>

#include <QtGui/QVector2D>

using namespace Orvane::Zel;

namespace Orvane { namespace ZelKit {

namespace {

constexpr float kMinReach = 1e-6f; ///< the shaders divide by its square

} // namespace

AmbientOcclusion::AmbientOcclusion()
    : _context(std::make_unique<OwnContext>())
{
}

AmbientOcclusion::~AmbientOcclusion()
{
    keepWithoutContext(*_context, "ambient occlusion", _estimator, _smoother, _geometry, _estimate,
                       _smoothed);
}

std::unique_ptr<AmbientOcclusion> AmbientOcclusion::create(QString *error)
{
    if (!hasContext("ambient occlusion", error)) {
        return nullptr;
    }
    std::unique_ptr<AmbientOcclusion> occlusion(new AmbientOcclusion);
    GLSLMacroProcessor processor;
    occlusion->_estimator = buildProgram(processor, QString(), {QStringLiteral("occlusion.frag")}, error);
    if (occlusion->_estimator == nullptr) {
        return nullptr;
    }
    occlusion->_smoother =
        buildProgram(processor, QString(), {QStringLiteral("occlusionSmooth.frag")}, error);
    return occlusion->_smoother != nullptr ? std::move(occlusion) : nullptr;
}

bool AmbientOcclusion::isUsable(QString *error) const
{
    return hasContext("ambient occlusion", error) && _context->isCurrent("ambient occlusion", error);
}

bool AmbientOcclusion::resize(const QSize &size, QString *error)
{
    if (size == _size) {
        return true;
    }
    if (!isUsable(error)) {
        return false;
    }
    _size = QSize();
    _isOpen = false;
    _geometry = RenderTarget::create(size, GL_RGBA32F, RenderTarget::eDepth, 0, error);
    _estimate = _geometry ? RenderTarget::create(size, GL_R8, RenderTarget::eNoDepth, 0, error) : nullptr;
    _smoothed = _estimate ? RenderTarget::create(size, GL_RG32F, RenderTarget::eNoDepth, 0, error) : nullptr;
    if (_smoothed == nullptr) {
        return false;
    }
    _size = size;
    return true;
}

bool AmbientOcclusion::beginGeometry()
{
    if (_size.isEmpty()) {
        fail(nullptr, QStringLiteral("ambient occlusion: call resize() before beginGeometry()"));
        return false;
    }
    if (!isUsable()) {
        return false;
    }
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &_hostFramebuffer);
    glGetIntegerv(GL_VIEWPORT, _hostViewport);
    _geometry->framebuffer()->bind();
    _isOpen = true;
    glViewport(0, 0, _size.width(), _size.height());
    glDepthMask(GL_TRUE);
    const AutoDisabler noScissor(GL_SCISSOR_TEST);
    constexpr GLfloat kNoSurface[4] = {}; // no normal, no distance
    glClearBufferfv(GL_COLOR, 0, kNoSurface);
    glClear(GL_DEPTH_BUFFER_BIT);
    return true;
}

bool AmbientOcclusion::endGeometry(const QMatrix4x4 &projection, float reach)
{
    if (!_isOpen) {
        fail(nullptr, QStringLiteral("ambient occlusion: endGeometry() needs a beginGeometry() before it"));
        return false;
    }
    if (!isUsable()) {
        return false;
    }
    _isOpen = false;
    _geometry->framebuffer()->unbind();
    const PassState state;
    {
        const AutoBinder boundGeometry(_geometry->color());
        pass(*_estimator, *_estimate, projection, reach);
        const AutoBinder boundEstimate(_estimate->color());
        pass(*_smoother, *_smoothed, projection, reach);
    }
    glBindFramebuffer(GL_FRAMEBUFFER, GLuint(_hostFramebuffer));
    glViewport(_hostViewport[0], _hostViewport[1], _hostViewport[2], _hostViewport[3]);
    return true;
}

void AmbientOcclusion::pass(ShaderProgram &program, RenderTarget &target, const QMatrix4x4 &projection,
                            float reach)
{
    const QVector2D halfExtent(1.0f / projection(0, 0), 1.0f / projection(1, 1));
    const int isOrthographic = projection(3, 3) != 0.0f ? 1 : 0;
    const AutoBinder boundTarget(target.framebuffer());
    const AutoBinder bound(&program);
    program.setUniform(QStringLiteral("u_Geometry"), QVariant(int(_geometry->color()->unit())));
    program.setUniform(QStringLiteral("u_HalfExtent"), QVariant(halfExtent));
    program.setUniform(QStringLiteral("u_IsOrthographic"), QVariant(isOrthographic));
    program.setUniform(QStringLiteral("u_Reach"), QVariant(reach > kMinReach ? reach : kMinReach));
    if (program.hasUniform(QStringLiteral("u_Estimate"))) {
        program.setUniform(QStringLiteral("u_Estimate"), QVariant(int(_estimate->color()->unit())));
    }
    drawFullscreen(program);
}

Texture *AmbientOcclusion::texture()
{
    return _smoothed != nullptr ? _smoothed->color() : nullptr;
}

}} // namespace Orvane::ZelKit
