#include "frame/AmbientOcclusion.h"

#include <ZelGL/ZelGL.h>

#include <QtGui/QVector2D>

using namespace Orvane::Zel;

namespace zelview {

AmbientOcclusion::AmbientOcclusion(ProgramPointer estimator, ProgramPointer smoother)
    : _estimator(std::move(estimator))
    , _smoother(std::move(smoother))
{
}

AmbientOcclusion::~AmbientOcclusion() = default;

Expected<std::unique_ptr<AmbientOcclusion>> AmbientOcclusion::create(Programs &programs)
{
    Expected<ProgramPointer> estimator = programs.buildFullscreen(QStringLiteral("occlusion.frag"));
    if (!estimator) {
        return estimator.problem();
    }
    Expected<ProgramPointer> smoother = programs.buildFullscreen(QStringLiteral("occlusionSmooth.frag"));
    if (!smoother) {
        return smoother.problem();
    }
    return std::unique_ptr<AmbientOcclusion>(new AmbientOcclusion(*estimator, *smoother));
}

Failure AmbientOcclusion::resize(const QSize &size)
{
    if (size == _size) {
        return {};
    }
    _size = QSize();
    auto geometry = makeTarget(size, GL_RGBA32F, RenderTarget::eDepth);
    auto estimate = makeTarget(size, GL_R8, RenderTarget::eNoDepth);
    auto smoothed = makeTarget(size, GL_RG32F, RenderTarget::eNoDepth);
    for (const auto *target : {&geometry, &estimate, &smoothed}) {
        if (!*target) {
            return target->problem();
        }
    }
    _geometry = std::move(*geometry);
    _estimate = std::move(*estimate);
    _smoothed = std::move(*smoothed);
    _size = size;
    return {};
}

void AmbientOcclusion::beginGeometry()
{
    _geometry->framebuffer()->bind();
    glViewport(0, 0, _size.width(), _size.height());
    glClearColor(0.0f, 0.0f, 0.0f, 0.0f); // no surface: no normal, no distance
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

void AmbientOcclusion::endGeometry(const QMatrix4x4 &projection, float reach)
{
    _geometry->framebuffer()->unbind();
    const AutoDisabler noDepthTest(GL_DEPTH_TEST);
    const AutoDisabler noBlending(GL_BLEND);
    const AutoBinder boundGeometry(_geometry->color());
    pass(*_estimator, *_estimate, projection, reach);
    const AutoBinder boundEstimate(_estimate->color());
    pass(*_smoother, *_smoothed, projection, reach);
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
    program.setUniform(QStringLiteral("u_Reach"), QVariant(reach));
    if (program.hasUniform(QStringLiteral("u_Estimate"))) {
        program.setUniform(QStringLiteral("u_Estimate"), QVariant(int(_estimate->color()->unit())));
    }
    drawFullscreen(&program);
}

Texture *AmbientOcclusion::texture()
{
    return _smoothed->color();
}

} // namespace zelview
