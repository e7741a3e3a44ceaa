// Shadows of a sun: the library fits the projections, the host draws the layers.
//
// processLights() computes a table of depth projections from the lights, the camera and the scene box, and returns whether
// it changed. The host draws one layer of an array texture for each projection; between bind() and unbind() a shader calls
// shadowMapGetVisibility(). See docs/shadows.md.

#include "Programs.h"
#include "Shapes.h"
#include "Show.h"

#include <ZelGL/ZelGL.h>

#include <cmath>

using namespace Orvane::Zel;

namespace {

constexpr int kTowers = 120;
constexpr int kLayerSize = 2048;
constexpr int kCascades = 3;

// Here a formula computes the placement; 03_instance_data shows how a host provides it. The last cube is the ground.
const char kPlacement[] = R"(
vec3 placed(vec3 vertex, uint id)
{
    if (id == uint(TOWERS)) {
        return vertex * vec3(40.0, 0.5, 40.0) - vec3(0.0, 0.5, 0.0);
    }
    float turn = 2.3999632 * float(id); // the golden angle, as in a sunflower
    float radius = 0.95 * sqrt(float(id) + 0.6);
    float height = 0.35 + 1.6 * pow(0.5 + 0.5 * sin(1.7 * float(id)), 3.0);
    vec2 corner = mat2(cos(turn), sin(turn), -sin(turn), cos(turn)) * vertex.xz * 0.38;
    return vec3(radius * cos(turn), 0.0, radius * sin(turn)) + vec3(corner.x, (vertex.y + 1.0) * height, corner.y);
}
)";

const char kVertex[] = R"(#version 150
#include "ZelUtilities.glslh"
in vec3 va_Vertex;
uniform mat4 u_ViewProjection;
out vec3 vo_Position;
flat out uint vo_ID;
#macro PLACEMENT // vec3 placed(vec3 vertex, uint id)

void main()
{
    vo_ID = getDrawID();
    vo_Position = placed(va_Vertex, vo_ID);
    gl_Position = u_ViewProjection * vec4(vo_Position, 1.0);
}
)";

const char kFragment[] = R"(#version 150
#include "ShadowMapManager.glslh"
in vec3 vo_Position;
flat in uint vo_ID;
uniform vec3 u_ToSun;
out vec4 o_Color;

// The mean over a small disc around the point, with a bias towards the sun against shadow acne.
float sunlight(vec3 normal)
{
    vec3 right = normalize(cross(normal, vec3(0.34, 0.2, 0.92)));
    vec3 up = cross(normal, right);
    vec3 origin = vo_Position + 0.02 * normal + 0.02 * u_ToSun;
    float sum = 0.0;
    for (int i = 0; i < 16; ++i) {
        float angle = 2.3999632 * float(i);
        vec2 tap = 0.045 * sqrt((float(i) + 0.5) / 16.0) * vec2(cos(angle), sin(angle));
        sum += shadowMapGetVisibility(0u, origin + tap.x * right + tap.y * up);
    }
    return sum / 16.0;
}

void main()
{
    vec3 normal = normalize(cross(dFdx(vo_Position), dFdy(vo_Position)));
    vec3 hue = 0.5 + 0.5 * cos(6.2831853 * (0.07 * sqrt(float(vo_ID)) + vec3(0.55, 0.7, 0.85)));
    vec3 albedo = vo_ID == uint(TOWERS) ? vec3(0.62, 0.6, 0.57) : mix(vec3(0.75), hue, 0.6);
    vec3 sky = mix(vec3(0.20, 0.19, 0.18), vec3(0.34, 0.40, 0.50), 0.5 + 0.5 * normal.y);
    vec3 sun = vec3(1.05, 0.95, 0.80) * max(dot(normal, u_ToSun), 0.0);
    float distance = length(vo_Position.xz);
    vec3 color = pow(albedo * (sky + sun * sunlight(normal)), vec3(1.0 / 1.6));
    o_Color = vec4(mix(color, vec3(0.80, 0.84, 0.90), smoothstep(14.0, 38.0, distance)), 1.0);
}
)";

// A layer must contain the projected z, from 0 to 1; this undoes GL's depth range transform.
const char kLayerVertex[] = R"(#version 150
#include "ZelUtilities.glslh"
in vec3 va_Vertex;
uniform mat4 u_Projection;
#macro PLACEMENT // vec3 placed(vec3 vertex, uint id)

void main()
{
    gl_Position = u_Projection * vec4(placed(va_Vertex, getDrawID()), 1.0);
    gl_Position.z = 2.0 * gl_Position.z - gl_Position.w;
}
)";

const char kLayerFragment[] = R"(#version 150
void main()
{
}
)";

class Towers : public Show
{
public:
    Towers()
        : _cubes(makeCube(kTowers + 1))
        , _layers(nullptr)
        , _framebuffer(nullptr)
    {
        DrawBuffers::setup(&_processor);
        ShadowMapManager::setup(&_processor, 0);
        _processor.addMacro("PLACEMENT", kPlacement);
        _processor.addDefine("TOWERS", QString::number(kTowers));
        const QStringList utilities{"ZelUtilities.glslc", "ZelUtilities.vert"};
        ProgramText text;
        text.vertex = kVertex;
        text.fragment = kFragment;
        text.vertexFiles = utilities;
        text.fragmentFiles = QStringList{ShadowMapManager::getShaderFile()};
        _program = makeProgram(text, &_processor);
        ProgramText layerText;
        layerText.vertex = kLayerVertex;
        layerText.fragment = kLayerFragment;
        layerText.vertexFiles = utilities;
        _layerProgram = makeProgram(layerText, &_processor);

        _sun.setType(ShadowMapManager::Light::eDirectional);
        _sun.setCSMLevels(kCascades);
        makeLayers();
        _shadows.projectionTexture = &_layers;
    }

    void prepare(float aspect, float seconds) override
    {
        const QVector3D eye(9.5f * std::sin(0.1f * seconds), 6.0f, 14.0f);
        _view.setToIdentity();
        _view.lookAt(eye, {0.0f, 0.4f, 1.0f}, {0.0f, 1.0f, 0.0f});
        _projection.setToIdentity();
        _projection.perspective(36.0f, aspect, 0.5f, 60.0f);

        // A directional light shines along +z of its transform, whose origin is the point that the camera looks at.
        _toSun = QVector3D(-0.75f, 0.62f, 0.35f).normalized();
        QMatrix4x4 transform;
        transform.lookAt({0.0f, 0.0f, 0.0f}, _toSun, {0.0f, 1.0f, 0.0f});
        _sun.setTransform(transform.inverted());

        const QVariantList lights = {QVariant::fromValue<QObject *>(&_sun)};
        const QPair<QVector3D, QVector3D> sceneBounds({-40.5f, -1.5f, -40.5f}, {40.5f, 4.5f, 40.5f});
        if (ShadowMapManager::processLights(lights, _shadows, &_view, &_projection, &sceneBounds)) {
            for (int i = 0; i < _shadows.transformCount; ++i) {
                drawLayer(i);
            }
        }
    }

    void draw(float, float) override
    {
        glClearColor(0.80f, 0.84f, 0.90f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT);
        const QVariant shadows = QVariant::fromValue<QObject *>(&_shadows);
        const AutoBinder useProgram(_program.get());
        ShadowMapManager::bind(_program.get(), shadows);
        _program->setUniform("u_ViewProjection", _projection * _view);
        _program->setUniform("u_ToSun", _toSun);
        drawCubes(*_program);
        ShadowMapManager::unbind(_program.get(), shadows);
    }

private:
    void makeLayers()
    {
        _layers.create3D(GL_TEXTURE_2D_ARRAY, GL_DEPTH_COMPONENT32F, kLayerSize, kLayerSize, kCascades);
        const AutoBinder bound(&_layers);
        const float free[] = {1.0f, 1.0f, 1.0f, 1.0f}; // no shadow outside of a layer
        glTexParameterfv(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_BORDER_COLOR, free);
        glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_BORDER);
        glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_BORDER);
    }

    void drawLayer(int layer)
    {
        const AutoBinder bound(&_framebuffer);
        _framebuffer.detachAll();
        _framebuffer.attach3D(&_layers, GL_DEPTH_ATTACHMENT, layer, 0);
        _framebuffer.setDrawBuffers();
        glViewport(0, 0, kLayerSize, kLayerSize);
        glClear(GL_DEPTH_BUFFER_BIT);
        const AutoBinder useProgram(_layerProgram.get());
        const ShadowMapManager::RenderData::Transform &transform = _shadows.transforms[layer];
        _layerProgram->setUniform("u_Projection", QMatrix4x4(transform.values.data()).transposed());
        drawCubes(*_layerProgram);
    }

    void drawCubes(ShaderProgram &program)
    {
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        const AutoBinder useCubes(_cubes.get());
        _cubes->VAO()->enableShaderProgramArrays(&program);
        _cubes->draw(&program);
    }

    GLSLMacroProcessor _processor;
    std::unique_ptr<ShaderProgram> _program;
    std::unique_ptr<ShaderProgram> _layerProgram;
    std::unique_ptr<DrawBuffers> _cubes;
    Texture _layers;
    FramebufferObject _framebuffer;
    ShadowMapManager::Light _sun;
    ShadowMapManager::RenderData _shadows;
    QVector3D _toSun;
    QMatrix4x4 _view;
    QMatrix4x4 _projection;
};

} // namespace

int main(int argc, char **argv)
{
    return present(argc, argv, [] { return std::make_unique<Towers>(); });
}
