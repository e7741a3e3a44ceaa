#include "light/Ground.h"

#include "light/Environment.h"
#include "light/ShadowedLights.h"

#include <ZelGL/ZelGL.h>

using namespace Orvane::Zel;

namespace zeltools {

Ground::Ground(ProgramPointer geometry, ProgramPointer shading, const Box &scene)
    : _geometry(std::move(geometry))
    , _shading(std::move(shading))
    , _middle(scene.center().x(), scene.low.y(), scene.center().z())
    , _radius(scene.radius())
{
}

Ground::~Ground() = default;

Expected<std::unique_ptr<Ground>> Ground::create(Programs &programs, const Box &scene)
{
    Expected<ProgramPointer> geometry = programs.buildFullscreen(QStringLiteral("groundGeometry.frag"));
    if (!geometry) {
        return geometry.problem();
    }
    Expected<ProgramPointer> shading =
        programs.build({QStringLiteral("passthroughVS.glslc")},
                       {QStringLiteral("ground.frag"), ShadowedLights::Layers::shaderFile()});
    if (!shading) {
        return shading.problem();
    }
    return std::unique_ptr<Ground>(new Ground(*geometry, *shading, scene));
}

void Ground::drawGeometry(const View &view)
{
    const AutoDisabler noDepthTest(GL_DEPTH_TEST);
    const AutoDisabler noBlending(GL_BLEND);
    const AutoBinder bound(_geometry.data());
    setView(*_geometry, view);
    drawFullscreen(_geometry.data());
}

void Ground::draw(const View &view, Texture *occlusion, ShadowedLights &shadows, Environment *environment)
{
    const AutoDisabler noDepthTest(GL_DEPTH_TEST);
    const AutoEnabler blending(GL_BLEND);
    glBlendFunc(GL_ZERO, GL_SRC_COLOR);
    const AutoBinder bound(_shading.data());
    const AutoBinder boundOcclusion(occlusion);
    const AutoEnabler seamless(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    shadows.bind(_shading.data());
    if (environment != nullptr) {
        environment->bind(_shading.data());
    }
    setView(*_shading, view);
    _shading->setUniform(QStringLiteral("u_Radius"), QVariant(_radius));
    _shading->setUniform(QStringLiteral("u_Occlusion"), QVariant(int(occlusion->unit())));
    drawFullscreen(_shading.data());
    if (environment != nullptr) {
        environment->unbind();
    }
    shadows.unbind(_shading.data());
}

void Ground::setView(ShaderProgram &program, const View &view) const
{
    program.setUniform(QStringLiteral("u_View"), QVariant(view.view));
    program.setUniform(QStringLiteral("u_ToWorld"), QVariant(view.viewProjection().inverted()));
    program.setUniform(QStringLiteral("u_Middle"), QVariant(_middle));
}

} // namespace zeltools
