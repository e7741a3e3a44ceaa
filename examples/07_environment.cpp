// Image-based lighting with the split-sum approximation.
//
// Two bakes filter an environment: for specular reflections, with growing roughness in the mip levels, and for diffuse
// surfaces. A third bake computes the BRDF table. A shader then needs three lookups. Here the CPU paints the environment;
// any latlong image with a mip chain works, lowest row first.

#include "Programs.h"
#include "Shapes.h"
#include "Show.h"

#include <ZelGL/ZelGL.h>

#include <QtGui/QVector2D>

#include <cmath>

using namespace Orvane::Zel;

namespace {

constexpr int kColumns = 6;
constexpr int kRows = 3;

const char kVertex[] = R"(#version 150
#include "ZelUtilities.glslh"
in vec3 va_Vertex;
in vec3 va_Normal;
uniform mat4 u_ViewProjection;
out vec3 vo_Position;
out vec3 vo_Normal;
flat out uint vo_ID;

void main()
{
    vo_ID = getDrawID();
    vec2 place = vec2(vo_ID % uint(COLUMNS), vo_ID / uint(COLUMNS)) - 0.5 * vec2(COLUMNS - 1, ROWS - 1);
    vo_Position = va_Vertex + 2.3 * vec3(place, 0.0);
    vo_Normal = va_Normal;
    gl_Position = u_ViewProjection * vec4(vo_Position, 1.0);
}
)";

// The roughness grows from left to right; from bottom to top: glossy paint, copper, gold.
const char kFragment[] = R"(#version 150
#include "ZelUtilities.glslh"
in vec3 vo_Position;
in vec3 vo_Normal;
flat in uint vo_ID;
uniform vec3 u_Eye;
uniform sampler2D u_Gloss;
uniform sampler2D u_Matt;
uniform sampler2D u_Reflectance;
out vec4 o_Color;

void main()
{
    float roughness = 0.8 * float(vo_ID % uint(COLUMNS)) / float(COLUMNS - 1);
    uint row = vo_ID / uint(COLUMNS);
    vec3 diffuse = row == 0u ? vec3(0.45, 0.05, 0.06) : vec3(0.0);
    vec3 specular = row == 0u ? vec3(0.04) : row == 1u ? vec3(0.95, 0.64, 0.54) : vec3(1.0, 0.78, 0.34);

    vec3 normal = normalize(vo_Normal);
    vec3 toEye = normalize(u_Eye - vo_Position);
    float levels = float(LEVELS);
    vec2 scaleAndBias = textureLod(u_Reflectance, vec2(max(dot(normal, toEye), 0.0), roughness), 0.0).rg;
    vec3 gloss = textureLod(u_Gloss, directionToLatLong(reflect(-toEye, normal)), roughness * (levels - 1.0)).rgb;
    vec3 matt = textureLod(u_Matt, directionToLatLong(normal), 0.0).rgb;
    vec3 color = diffuse * matt + (specular * scaleAndBias.x + scaleAndBias.y) * gloss;
    o_Color = vec4(pow(color / (1.0 + 0.35 * color), vec3(1.0 / 2.2)), 1.0);
}
)";

const char kBackground[] = R"(#version 150
#include "ZelUtilities.glslh"
in vec2 vo_TexCoord;
uniform vec2 u_HalfExtent;
uniform sampler2D u_Gloss;
out vec4 o_Color;

void main()
{
    vec3 direction = normalize(vec3((2.0 * vo_TexCoord - 1.0) * u_HalfExtent, -1.0));
    vec3 color = textureLod(u_Gloss, directionToLatLong(direction), 2.5).rgb;
    o_Color = vec4(pow(color / (1.0 + 0.35 * color), vec3(1.0 / 2.2)), 1.0);
}
)";

constexpr int kWidth = 256;
constexpr int kHeight = 128;

/// An interior with a window on each side of the eye, a warm floor and a row of lamps.
QVector3D radiance(const QVector3D &direction)
{
    const float up = direction.y();
    QVector3D light = up < 0.0f ? QVector3D(0.30f, 0.24f, 0.19f) : QVector3D(0.34f, 0.37f, 0.42f);
    light *= 0.55f + 0.45f * std::abs(up);
    if (std::abs(up - 0.25f) < 0.35f && std::abs(direction.z() - 0.35f) < 0.28f) {
        light = direction.x() < 0.0f ? QVector3D(2.6f, 3.2f, 4.4f) : QVector3D(4.6f, 3.5f, 2.4f);
    }
    const float around = std::atan2(direction.x(), direction.z());
    if (std::abs(up - 0.78f) < 0.06f && std::abs(std::sin(4.0f * around)) < 0.3f) {
        light = QVector3D(9.0f, 8.4f, 7.2f);
    }
    return light;
}

std::unique_ptr<Texture> paintEnvironment()
{
    QVector<QVector3D> pixels;
    for (int y = 0; y < kHeight; ++y) {
        const float elevation = ((float(y) + 0.5f) / kHeight - 0.5f) * float(M_PI);
        for (int x = 0; x < kWidth; ++x) {
            // The longitude of directionToLatLong(), which starts at -x and grows towards -z.
            const float around = ((float(x) + 0.5f) / kWidth - 0.5f) * 2.0f * float(M_PI);
            pixels << radiance({std::cos(around) * std::cos(elevation), std::sin(elevation),
                                std::sin(around) * std::cos(elevation)});
        }
    }
    auto image = std::make_unique<Texture>(nullptr);
    image->create2D(GL_TEXTURE_2D, GL_RGBA16F, kWidth, kHeight);
    const AutoBinder bound(image.get());
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, kWidth, kHeight, GL_RGB, GL_FLOAT, pixels.constData());
    glGenerateMipmap(GL_TEXTURE_2D);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);
    return image;
}

class Spheres : public Show
{
public:
    Spheres()
        : _spheres(makeSphere(kColumns * kRows))
    {
        const std::unique_ptr<Texture> environment = paintEnvironment();
        const auto levels = unsigned(MaxLODLevel(kWidth, kHeight));
        _gloss.reset(CreatePrefilteredLatLongEnvMap(environment.get(), kWidth, kHeight, 64,
                                                    SHADING_PHYSICALLY_BASED, RGBA16F));
        _matt.reset(CreatePrefilteredLatLongEnvMap(environment.get(), 32, 16, 256, SHADING_LAMBERTIAN_DIFFUSE,
                                                   RGBA16F));
        _reflectance.reset(CreatePreintegratedBRDFTable(64, 64, levels, SHADING_PHYSICALLY_BASED, RGBA16F));

        DrawBuffers::setup(&_processor);
        _processor.addDefine("COLUMNS", QString::number(kColumns));
        _processor.addDefine("ROWS", QString::number(kRows));
        _processor.addDefine("LEVELS", QString::number(levels));
        ProgramText text;
        text.vertex = kVertex;
        text.fragment = kFragment;
        text.vertexFiles = QStringList{"ZelUtilities.glslc", "ZelUtilities.vert"};
        text.fragmentFiles = QStringList{"ZelUtilities.glslc", "ZelUtilities.frag"};
        _program = makeProgram(text, &_processor);
        ProgramText background;
        background.vertexFiles = QStringList{"passthroughVS.glslc"};
        background.fragment = kBackground;
        background.fragmentFiles = text.fragmentFiles;
        _background = makeProgram(background, &_processor);
    }

    void draw(float aspect, float seconds) override
    {
        constexpr float kHalfHeight = 0.27f; // half the height of the view at distance 1
        drawBackground(QVector2D(kHalfHeight * aspect, kHalfHeight));

        const QVector3D eye(2.0f * std::sin(0.4f * seconds), 0.6f, 15.0f);
        QMatrix4x4 viewProjection;
        viewProjection.perspective(30.0f, aspect, 1.0f, 50.0f);
        viewProjection.lookAt(eye, {0.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f});
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        const AutoBinder useProgram(_program.get());
        const AutoBinder useGloss(_gloss.get());
        const AutoBinder useMatt(_matt.get());
        const AutoBinder useReflectance(_reflectance.get());
        const AutoBinder useSpheres(_spheres.get());
        _spheres->VAO()->enableShaderProgramArrays(_program.get());
        _program->setUniform("u_ViewProjection", viewProjection);
        _program->setUniform("u_Eye", eye);
        _program->setUniform("u_Gloss", int(_gloss->unit()));
        _program->setUniform("u_Matt", int(_matt->unit()));
        _program->setUniform("u_Reflectance", int(_reflectance->unit()));
        _spheres->draw(_program.get());
    }

private:
    void drawBackground(const QVector2D &halfExtent)
    {
        const QSharedPointer<DrawBuffers> quad = OpenGLDeviceContext::current()->fullscreenQuad();
        const AutoBinder useProgram(_background.get());
        const AutoBinder useGloss(_gloss.get());
        const AutoBinder useQuad(quad);
        quad->VAO()->enableShaderProgramArrays(_background.get());
        _background->setUniform("u_HalfExtent", halfExtent);
        _background->setUniform("u_Gloss", int(_gloss->unit()));
        const AutoDisabler noDepthTest(GL_DEPTH_TEST);
        quad->draw(_background.get());
    }

    GLSLMacroProcessor _processor;
    std::unique_ptr<ShaderProgram> _program;
    std::unique_ptr<ShaderProgram> _background;
    std::unique_ptr<DrawBuffers> _spheres;
    std::unique_ptr<Texture> _gloss;
    std::unique_ptr<Texture> _matt;
    std::unique_ptr<Texture> _reflectance;
};

} // namespace

int main(int argc, char **argv)
{
    return present(argc, argv, [] { return std::make_unique<Spheres>(); });
}
