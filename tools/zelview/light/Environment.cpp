#include "light/Environment.h"

#include "file/Console.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/EnvironmentBake.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QFileInfo>
#include <QtCore/qmath.h>
#include <QtGui/QVector2D>

#include <cmath>

using namespace Orvane::Zel;
using Orvane::ZelKit::EnvironmentBake;
using Orvane::ZelKit::EnvironmentLight;

namespace zeltools {

namespace {

/// Half the extent of the view at distance 1. An orthographic view has no angle; it gets that of a usual camera.
QVector2D halfExtent(const QMatrix4x4 &projection)
{
    const bool isParallel = projection(3, 3) != 0.0f;
    const float height = isParallel ? 0.27f : 1.0f / projection(1, 1);
    return {height * projection(1, 1) / projection(0, 0), height};
}

QString textOf(EnvironmentBake::Stage stage)
{
    switch (stage) {
    case EnvironmentBake::eDiffuse:
        return QStringLiteral("environment: diffuse irradiance (2 of 4)");
    case EnvironmentBake::eReflections:
        return QStringLiteral("environment: specular reflections (3 of 4)");
    default:
        return QStringLiteral("environment: BRDF table (4 of 4)");
    }
}

} // namespace

Environment::Environment() = default;

Environment::~Environment() = default;

void Environment::setUp(GLSLMacroProcessor *processor)
{
    EnvironmentLight::setUp(processor);
    processor->addDefine(QStringLiteral("ZELVIEW_ENVIRONMENT"), QStringLiteral("1"));
}

Expected<std::unique_ptr<Environment>> Environment::create(Programs &programs, const QString &path,
                                                           std::optional<EnvironmentLayout> layout, Sun sun)
{
    QElapsedTimer timer;
    timer.start();
    Expected<EnvironmentImage> image = loadEnvironmentImage(path, layout);
    if (!image) {
        return image.problem();
    }
    EnvironmentLight::setUp(programs.processor());
    const Expected<ProgramPointer> background = programs.buildFullscreen(QStringLiteral("environment.frag"));
    if (!background) {
        return background.problem();
    }
    std::unique_ptr<Environment> environment(new Environment);
    environment->_background = *background;
    const QSize size = image->image.size;
    const bool isPanorama = image->layout == EnvironmentLayout::eLatLong;
    if (const Failure failure = environment->bake(std::move(*image), sun)) {
        return *failure;
    }
    environment->_facts = QStringLiteral("%4, %5 of %1x%2, baked in %3 ms")
                              .arg(isPanorama ? size.width() : size.height())
                              .arg(size.height())
                              .arg(timer.elapsed())
                              .arg(QFileInfo(path).fileName(),
                                   isPanorama ? QStringLiteral("latlong") : QStringLiteral("six faces"));
    if (sun == eTakeSun && !environment->_sun) {
        environment->_facts += QStringLiteral("; no light is strong enough to cast shadows");
    }
    return environment;
}

Failure Environment::bake(EnvironmentImage image, Sun sun)
{
    QString error;
    Console::printProgress(QStringLiteral("environment: cube maps (1 of 4)"));
    _sharp = image.cubeMap(&error);
    if (sun == eTakeSun) {
        _sun = image.takeStrongestLight();
    }
    std::unique_ptr<Texture> withoutSun = _sun && _sharp ? image.cubeMap(&error) : nullptr;
    Texture *source = _sun ? withoutSun.get() : _sharp.get();
    if (source == nullptr) {
        return Problem{ExitCode::eGL, error};
    }
    const std::unique_ptr<EnvironmentBake> bake = EnvironmentBake::create(*source, {}, &error);
    if (bake == nullptr) {
        return Problem{ExitCode::eGL, error};
    }
    for (auto stage = EnvironmentBake::eDone; bake->stage() != EnvironmentBake::eDone; bake->step()) {
        if (bake->stage() != stage) {
            stage = bake->stage();
            glFinish();
            Console::printProgress(textOf(stage));
        }
    }
    glFinish();
    _light = bake->take();
    return {};
}

void Environment::setRotation(float rotation)
{
    QMatrix4x4 turn;
    turn.rotate(-rotation, 0.0f, 1.0f, 0.0f);
    _light->setRotation(turn);
}

std::optional<DistantLight> Environment::sun() const
{
    if (!_sun) {
        return {};
    }
    return DistantLight{_light->rotation().transposed().mapVector(_sun->direction), _sun->irradiance};
}

void Environment::drawBackground(const QMatrix4x4 &view, const QMatrix4x4 &projection, float blur,
                                 float exposure)
{
    const AutoDisabler noDepthTest(GL_DEPTH_TEST);
    const AutoDisabler noBlending(GL_BLEND);
    const AutoEnabler seamless(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    ShaderProgram *program = _background.data();
    const AutoBinder boundProgram(program);
    bind(program);
    const AutoBinder boundSharp(_sharp.get());
    const auto set = [&](const char *name, const QVariant &value) {
        program->setUniform(QLatin1String(name), value);
    };
    QMatrix4x4 turnOnly = view;
    turnOnly.setColumn(3, {0.0f, 0.0f, 0.0f, 1.0f});
    set("u_Sharp", int(_sharp->unit()));
    set("u_ViewToWorld", turnOnly.transposed());
    set("u_HalfExtent", halfExtent(projection));
    set("u_Blur", blur);
    set("u_Exposure", exposure);
    drawFullscreen(program);
    unbind();
}

void Environment::bind(ShaderProgram *program)
{
    _light->bind(program);
}

void Environment::unbind()
{
    _light->unbind();
}

QString Environment::describe() const
{
    const std::optional<DistantLight> light = sun();
    if (!light) {
        return _facts;
    }
    const QVector3D &direction = light->direction;
    return _facts
           + QStringLiteral("; strongest light from %1,%2")
                 .arg(std::lround(qRadiansToDegrees(std::atan2(direction.x(), direction.z()))))
                 .arg(std::lround(qRadiansToDegrees(std::asin(direction.y()))));
}

} // namespace zeltools
