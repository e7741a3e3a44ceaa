#include "light/Environment.h"

#include "frame/Console.h"

#include <ZelGL/ZelGL.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QFileInfo>
#include <QtCore/qmath.h>
#include <QtGui/QVector2D>

#include <algorithm>
#include <cmath>

using namespace Orvane::Zel;

namespace zelview {

namespace {

// Sizes and samples that a CPU bakes within seconds; more make no visible difference. The bakes need maps that are not
// finer than the image.
constexpr int kSpecularSize = 256;
constexpr unsigned int kSpecularSamples = 128;
constexpr int kDiffuseSize = 32;
constexpr unsigned int kDiffuseSamples = 2048;
constexpr int kDiffuseLevel = 1; ///< the first level whose samples read filtered texels of the image
constexpr int kTableSize = 64;

using TexturePointer = std::unique_ptr<Texture>;

TexturePointer upload(const LightImage &image)
{
    static_assert(sizeof(QVector3D) == 3 * sizeof(float), "rows of plain floats");
    const int width = image.size.width();
    const int height = image.size.height();
    auto texture = std::make_unique<Texture>(GL_TEXTURE_2D, GL_RGB16F, width, height, 1, nullptr);
    const AutoBinder bound(texture.get());
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB16F, width, height, 0, GL_RGB, GL_FLOAT, image.texels.data());
    return texture;
}

/// Interpolates between the texels of a panorama, to avoid stepped edges.
class SmoothPanorama : public TvoImageCubemapUtils::TvoRenderCubemap_LatLongSphere
{
public:
    SmoothPanorama() { setFilters(GL_LINEAR, GL_LINEAR); }
};

TexturePointer makeCubeMap(const EnvironmentImage &image)
{
    using namespace TvoImageCubemapUtils;
    const TexturePointer plain = upload(image.image);
    if (image.layout == EnvironmentLayout::eStrip) {
        return TexturePointer(createGLCubemapFromTexture(plain.get(), eSourceLinear, GL_TEXTURE_CUBE_MAP,
                                                         eColorSpaceLinear, 0));
    }
    SmoothPanorama panorama;
    panorama.setTexture(plain.get());
    return TexturePointer(
        panorama.createCubemap(std::max(image.image.size.width() / 2, 1), GL_RGB16F, GL_TEXTURE_CUBE_MAP));
}

/// Half the extent of the view at distance 1. An orthographic view has no angle; it gets that of a usual camera.
QVector2D halfExtent(const QMatrix4x4 &projection)
{
    const bool isParallel = projection(3, 3) != 0.0f;
    const float height = isParallel ? 0.27f : 1.0f / projection(1, 1);
    return {height * projection(1, 1) / projection(0, 0), height};
}

int edgeOf(Texture &cube)
{
    const AutoBinder bound(&cube);
    return cube.width(0);
}

void useLevel(Texture &texture, int level)
{
    const AutoBinder bound(&texture);
    glTexParameteri(texture.target(), GL_TEXTURE_BASE_LEVEL, level);
    glTexParameteri(texture.target(), GL_TEXTURE_MAX_LEVEL, level);
}

} // namespace

Environment::Environment() = default;

Environment::~Environment() = default;

void Environment::setUp(GLSLMacroProcessor *processor)
{
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
    environment->_facts = QStringLiteral("%1, %2 of %3x%4, baked in %5 ms")
                              .arg(QFileInfo(path).fileName(),
                                   isPanorama ? QStringLiteral("latlong") : QStringLiteral("six faces"))
                              .arg(isPanorama ? size.width() : size.height())
                              .arg(size.height())
                              .arg(timer.elapsed());
    if (sun == eTakeSun && !environment->_sun) {
        environment->_facts += QStringLiteral("; no light is strong enough to cast shadows");
    }
    return environment;
}

Failure Environment::bake(EnvironmentImage image, Sun sun)
{
    const AutoEnabler seamless(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    const Problem problem{ExitCode::eGL, QStringLiteral("the driver cannot bake the environment")};

    Console::printProgress(QStringLiteral("environment: cube maps (1 of 4)"));
    _sharp = makeCubeMap(image);
    if (sun == eTakeSun) {
        _sun = takeStrongestLight(image);
    }
    const TexturePointer source = makeCubeMap(image);
    if (_sharp == nullptr || source == nullptr) {
        return problem;
    }
    glFinish();
    const int face = edgeOf(*source);

    Console::printProgress(QStringLiteral("environment: diffuse irradiance (2 of 4)"));
    _diffuse.reset(CreatePrefilteredCubeEnvMap(source.get(), std::min(kDiffuseSize, face), kDiffuseSamples,
                                               SHADING_LAMBERTIAN_DIFFUSE, RGBA16F));
    glFinish();

    _levels = MaxLODLevel(std::min(kSpecularSize, face), std::min(kSpecularSize, face));
    Console::printProgress(QStringLiteral("environment: specular reflections (3 of 4)"));
    _specular.reset(CreatePrefilteredCubeEnvMap(source.get(), std::min(kSpecularSize, face), kSpecularSamples,
                                                SHADING_PHYSICALLY_BASED, RGBA16F));
    glFinish();

    Console::printProgress(QStringLiteral("environment: BRDF table (4 of 4)"));
    _brdf.reset(CreatePreintegratedBRDFTable(kTableSize, kTableSize, unsigned(_levels),
                                             SHADING_PHYSICALLY_BASED, RGBA16F));
    glFinish();
    if (_diffuse == nullptr || _specular == nullptr || _brdf == nullptr) {
        return problem;
    }
    useLevel(*_diffuse, kDiffuseLevel);
    return {};
}

void Environment::setRotation(float rotation)
{
    _turn.setToIdentity();
    _turn.rotate(-rotation, 0.0f, 1.0f, 0.0f);
}

std::optional<DistantLight> Environment::sun() const
{
    if (!_sun) {
        return {};
    }
    return DistantLight{_turn.transposed().mapVector(_sun->direction), _sun->irradiance};
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
    const auto set = [&](const char *name, const QVariant &value) {
        if (program->hasUniform(QLatin1String(name))) { // the driver removes unused uniforms
            program->setUniform(QLatin1String(name), value);
        }
    };
    for (const auto *texture : {&_specular, &_diffuse, &_brdf}) {
        (*texture)->bind();
    }
    set("u_EnvironmentSpecular", int(_specular->unit()));
    set("u_EnvironmentDiffuse", int(_diffuse->unit()));
    set("u_EnvironmentBrdf", int(_brdf->unit()));
    set("u_EnvironmentLastLevel", float(_levels - 1));
    set("u_ToEnvironment", _turn);
}

void Environment::unbind()
{
    for (const auto *texture : {&_specular, &_diffuse, &_brdf}) {
        (*texture)->unbind();
    }
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

} // namespace zelview
