// The look-ups in the shader: the functions at named depths, and shadows compared with rays to the light.

#include "support/DrawnPixels.h"
#include "support/GLFixture.h"
#include "support/ShadowTable.h"
#include "support/TestBuffer.h"
#include "support/TestProgram.h"

#include <ZelGL/ZelGL.h>

#include <QtGui/QVector2D>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

using namespace Orvane::Zel;

namespace {

using Light = ShadowMapManager::Light;
using RenderData = ShadowMapManager::RenderData;

/// Evaluates the shader at many points at once: one pixel for each.
class Probe
{
public:
    explicit Probe(int options)
    {
        ShadowMapManager::setup(&_processor, options);
        _program = makeProgram(kAllOver, kFragmentStage, &_processor, {ShadowMapManager::getShaderFile()});
    }

    /// The results of the three functions for a light that shines along z, or the debug picture.
    std::vector<QVector4D> ask(RenderData &data, const std::vector<QVector3D> &points, unsigned int light = 0,
                               float facing = 1, bool debug = false)
    {
        const int count = int(points.size());
        Texture source(nullptr);
        source.create2D(GL_TEXTURE_2D, GL_RGBA32F, count, 1);
        const AutoBinder sourceBinder(&source);
        glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, count, 1, GL_RGB, GL_FLOAT, points.data());
        const AutoBinder binder(_program.get());
        const QVariant variant = QVariant::fromValue<QObject *>(&data);
        EXPECT_TRUE(ShadowMapManager::bind(_program.get(), variant));
        EXPECT_TRUE(data.projectionTexture->isBound());
        _program->setUniform("u_Points", QVariant(int(source.unit())));
        _program->setUniform("u_Light", QVariant(light));
        _program->setUniform("u_Facing", QVariant(facing));
        _program->setUniform("u_Debug", QVariant(debug));
        const Pixels pixels = drawnPixels(*_program, count, 1);
        EXPECT_TRUE(ShadowMapManager::unbind(_program.get(), variant));
        EXPECT_FALSE(data.projectionTexture->isBound());
        return {pixels.data(), pixels.data() + count};
    }

private:
    static constexpr char kFragmentStage[] = R"(#version 150
#include "ShadowMapManager.glslh"
uniform sampler2D u_Points;
uniform float u_Facing;
uniform uint u_Light;
uniform bool u_Debug;
out vec4 color;
void main()
{
    vec3 point = texelFetch(u_Points, ivec2(gl_FragCoord.xy), 0).xyz;
    color = u_Debug ? shadowMapGetDebug(point.xy)
                    : vec4(shadowMapGetVisibility(u_Light, point),
                           shadowMapGetVisibility(u_Light, point, vec3(1.0, 0.0, u_Facing), vec3(0.0, 0.0, 1.0)),
                           shadowMapGetVisibilitySingle(min(u_Light, 31u), point), 0.0);
}
)";

    GLSLMacroProcessor _processor;
    std::unique_ptr<ShaderProgram> _program;
};

/// Layers as a host should create them: outside of one there is no shadow.
void makeLayers(Texture &layers, unsigned int format, int size, int count)
{
    layers.create3D(GL_TEXTURE_2D_ARRAY, format, size, size, count);
    const AutoBinder binder(&layers);
    const float free[] = {1, 1, 1, 1};
    glTexParameterfv(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_BORDER_COLOR, free);
    for (const GLenum wrap : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T}) {
        glTexParameteri(GL_TEXTURE_2D_ARRAY, wrap, GL_CLAMP_TO_BORDER);
    }
}

/// Layers of one texel: two moments of the depth.
void makeLayers(Texture &layers, const std::vector<QVector2D> &moments)
{
    makeLayers(layers, GL_RG32F, 1, int(moments.size()));
    const AutoBinder binder(&layers);
    glTexSubImage3D(GL_TEXTURE_2D_ARRAY, 0, 0, 0, 0, 1, 1, int(moments.size()), GL_RG, GL_FLOAT,
                    moments.data());
}

using ShadowVisibilityTest = GLTest;

} // namespace

TEST_F(ShadowVisibilityTest, FunctionsCompareDepthsOrMoments)
{
    Texture layers(nullptr);
    // Variances of 0.01; two depths that count as empty; a variance that rounding has made negative.
    std::vector<QVector2D> moments = {{0.5f, 0.26f}, {0, 0.01f}, {1, 1.01f}, {0.25f, 0.0525f}, {0.5f, 0.26f}};
    moments.resize(32, {0.5f, 0.2499f});
    makeLayers(layers, moments);
    RenderData data;
    data.projectionTexture = &layers;
    QMatrix4x4 behind;
    behind(3, 3) = -1; // all points have w < 0
    data.setTransform(3, behind, 0);
    QMatrix4x4 farther;
    farther.translate(0, 0, 0.1f);
    data.setTransform(31, farther, 0);
    data.projectorInfos[0] = {1, 0};
    data.projectorInfos[1] = {3, 0};
    data.projectorInfos[2] = {1, 2};
    data.projectorInfos[3] = {0, 2};
    data.projectorInfos[4] = {2, 3};
    data.projectorInfos[31] = {1, 31};
    const struct
    {
        unsigned int light;
        float z, facing, clamp;
        QVector3D plain, variance; ///< without a normal, with a normal, for a single projection
    } rows[] = {
        {0, 0.45f, 1, 0.1f, {1, 1, 1}, {1, 1, 1}},
        {0, 0.60f, 1, 0.1f, {0, 0, 0}, {0.41701f, 0.41701f, 0.5f}},
        {0, 0.60f, 0, 0.1f, {0, 0, 0}, {0.41701f, 0.87380f, 0.5f}},  // a bias of 0.05
        {0, 0.57f, -0.5f, 0.1f, {0, 1, 0}, {0.69702f, 1, 0.67114f}}, // 0.075
        {0, 0.49f, 1.5f, 0.1f, {1, 1, 1}, {1, 1, 1}},                // never negative
        {0, 0.55f, 1, 0.5f, {0, 0, 0}, {0.648f, 0.648f, 0.8f}},
        {0, 0.60f, 1, 0.5f, {0, 0, 0}, {0, 0, 0.5f}},
        {0, 0.45f, 1, 1.0f, {1, 1, 1}, {1, 1, 1}},
        {1, 0.45f, 1, 0.1f, {1, 0, 1}, {1, 0, 1}}, // empty layers count with a normal only
        {1, 0.60f, 1, 0.1f, {0, 0, 0}, {0.41701f, 0, 0.5f}},
        {2, 1.20f, 1, 0.1f, {1, 0, 0}, {1, 0.03429f, 0.2f}},
        {3, 1.20f, 1, 0.1f, {1, 1, 0}, {1, 1, 0.2f}},            // no projection
        {4, 0.60f, 1, 0.1f, {0, 0, 1}, {0.41701f, 0.41701f, 1}}, // the first projection is skipped
        {31, 0.45f, 0, 0.1f, {0, 1, 0}, {0, 1, 0}},
        {32, 0.45f, 0, 0.1f, {1, 1, 0}, {1, 1, 0}}, // no such light
    };
    for (const bool variance : {false, true}) {
        Probe probe(variance ? 1 : 0);
        for (const auto &row : rows) {
            ShadowMapManager::setVarianceClamping(row.clamp);
            const QVector3D actual = probe.ask(data, {{0, 0, row.z}}, row.light, row.facing)[0].toVector3D();
            EXPECT_LT((actual - (variance ? row.variance : row.plain)).length(), 1e-4f)
                << "light " << row.light << ", depth " << row.z << ", variance " << variance << ": "
                << actual.x() << ' ' << actual.y() << ' ' << actual.z();
        }
    }
    ShadowMapManager::setVarianceClamping(0.1f);
}

TEST_F(ShadowVisibilityTest, TheDebugPictureShowsTheTableBelowAndTheLayersInAGrid)
{
    Texture layers(nullptr);
    makeLayers(layers, {{0.1f, 0.2f}, {0.3f, 0.4f}, {0.5f, 0.6f}});
    RenderData data;
    data.projectionTexture = &layers;
    data.projectorInfos[16] = {6, 8};
    const std::pair<QVector3D, QVector4D> rows[] = {
        {{-0.1f, 0.5f, 0}, {}},
        {{0.5f, 1.1f, 0}, {}},
        {{0.51f, 0.01f, 0}, {16 / 32.0f, 6 / 32.0f, 8 / 32.0f, 1}},
        {{0.99f, 0.01f, 0}, {31 / 32.0f, 0, 0, 1}},
        {{0.25f, 0.25f, 0}, {0.1f, 0.2f, 0, 1}},
        {{0.75f, 0.25f, 0}, {0.3f, 0.4f, 0, 1}},
        {{0.25f, 0.75f, 0}, {0.5f, 0.6f, 0, 1}},
        {{0.75f, 0.75f, 0}, {}}};
    Probe probe(0);
    for (const auto &[place, expected] : rows) {
        EXPECT_LT((expected - probe.ask(data, {place}, 0, 1, true)[0]).length(), 1e-5f)
            << place.x() << ' ' << place.y();
    }
}

namespace {

constexpr int kMapSize = 256;

/// Boxes in a cube of 10 units, seen by a random camera and lit by a random light.
class Trial
{
public:
    explicit Trial(unsigned int seed)
        : _random(seed)
    {
        for (int i = 0; i < 12; ++i) {
            QMatrix4x4 box;
            box.translate(3.5f * point());
            box.rotate(number(0, 360), point());
            box.scale(number(0.2f, 2), number(0.2f, 2), number(0.2f, 2));
            toBoxes.push_back(box.inverted());
        }
        const std::tuple<Light::Type, int, float> kLights[] = {
            {Light::eDirectional, 1, -1.0f}, {Light::eDirectional, 4, -1.0f}, {Light::eSpot, 1, 0.7f},
            {Light::ePoint, 1, 0.7f},        {Light::ePoint, 1, 1.5f},        {Light::ePoint, 1, -1.0f}};
        const auto [type, levels, cutoff] = kLights[seed % 6];
        light.setType(type);
        light.setCSMLevels(levels);
        light.setSpotCutoff(cutoff);
        QMatrix4x4 transform;
        transform.translate(4 * point());
        transform.rotate(number(0, 360), point());
        transform.scale(seed % 12 < 6 ? 1 : -1, 1, 1);
        light.setTransform(transform);
        view.lookAt(9 * point().normalized(), point(), point());
        projection.perspective(60, 1, 0.5f, 30);
    }

    float number(float low, float high) { return std::uniform_real_distribution<float>(low, high)(_random); }
    QVector3D point() { return {number(-1, 1), number(-1, 1), number(-1, 1)}; }

    /// Whether no box is between the point and the light.
    bool isLit(const QVector3D &point) const
    {
        const QMatrix4x4 toWorld = light.transform();
        const QVector3D from = light.type() == Light::eDirectional
                                   ? point - 30 * toWorld.column(2).toVector3D()
                                   : toWorld.column(3).toVector3D();
        return std::none_of(toBoxes.begin(), toBoxes.end(), [&](const QMatrix4x4 &toBox) {
            const QVector3D start = toBox.map(from);
            const QVector3D along = toBox.map(point) - start;
            float enter = 0;
            float leave = 1;
            for (int axis = 0; axis < 3; ++axis) {
                const float half = along[axis] < 0 ? -0.5f : 0.5f;
                enter = std::max(enter, (-half - start[axis]) / along[axis]);
                leave = std::min(leave, (half - start[axis]) / along[axis]);
            }
            return enter < leave;
        });
    }

    /// Whether the camera sees the point, and the light shines in its direction.
    bool isSeenAndReached(const QVector3D &point) const
    {
        const QVector4D at = projection * view * QVector4D(point, 1);
        const QVector3D inLight = light.transform().inverted().map(point);
        const float side = std::max(std::abs(inLight.x()), std::abs(inLight.y()));
        const float cutoff = light.spotCutoff();
        return std::max({std::abs(at.x()), std::abs(at.y()), std::abs(at.z())}) < at.w()
               && inLight.length() > 0.5f && (cutoff < 0 || side > inLight.z())
               && (cutoff < 0 || cutoff > 1 || side < -inLight.z() * std::tan(cutoff));
    }

    std::vector<QMatrix4x4> toBoxes; ///< to cubes of side 1
    Light light;
    QMatrix4x4 view;
    QMatrix4x4 projection;

private:
    std::mt19937 _random;
};

/// Draws both kinds of layers of a table as a host does, with pancaking.
void drawLayers(Texture &depths, Texture &moments, const Trial &trial, const RenderData &data)
{
    const auto program = makeProgram(R"(#version 150
uniform mat4 u_Projection;
void main() // a cube as one triangle strip; each number has a bit for each vertex
{
    bvec3 upper = notEqual(ivec3(0x287a, 0x02af, 0x31e3) & ivec3(1 << gl_VertexID), ivec3(0));
    gl_Position = u_Projection * vec4(vec3(upper) - 0.5, 1.0);
    gl_Position.z = 2.0 * gl_Position.z - gl_Position.w;
}
)",
                                     R"(#version 150
out vec2 color;
void main()
{
    float depth = clamp(gl_FragCoord.z, 1e-6, 1.0);
    color = vec2(depth, depth * depth);
}
)");
    makeLayers(depths, GL_DEPTH_COMPONENT32F, kMapSize, data.transformCount);
    makeLayers(moments, GL_RG32F, kMapSize, data.transformCount);
    const AutoBinder binder(program.get());
    const auto arrays = OpenGLDeviceContext::current()->newVAO();
    const AutoBinder arraysBinder(arrays.data());
    FramebufferObject framebuffer(nullptr);
    const AutoBinder framebufferBinder(&framebuffer);
    glViewport(0, 0, kMapSize, kMapSize);
    const AutoEnabler depthTest(GL_DEPTH_TEST);
    const AutoEnabler pancaking(GL_DEPTH_CLAMP);
    glDepthRange(1e-6, 1);
    glClearColor(1, 1, 1, 1);
    for (int layer = 0; layer < data.transformCount; ++layer) {
        framebuffer.attach3D(&depths, GL_DEPTH_ATTACHMENT, layer, 0);
        framebuffer.attach3D(&moments, GL_COLOR_ATTACHMENT0, layer, 0);
        framebuffer.setDrawBuffers();
        EXPECT_TRUE(framebuffer.isComplete());
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        for (const QMatrix4x4 &toBox : trial.toBoxes) {
            program->setUniform("u_Projection",
                                QVariant(matrixOf(data.transforms[layer]) * toBox.inverted()));
            glDrawArrays(GL_TRIANGLE_STRIP, 0, 14);
        }
        framebuffer.detach(GL_DEPTH_ATTACHMENT);
        framebuffer.detach(GL_COLOR_ATTACHMENT0);
    }
    glDepthRange(0, 1);
}

} // namespace

TEST_F(ShadowVisibilityTest, ShadowsAgreeWithRaysOutsideOfOneTexelOfTheirEdges)
{
    int lit = 0;
    int shadowed = 0;
    int atEdges = 0;
    Probe probes[] = {Probe(0), Probe(1)};
    for (unsigned int seed = 0; seed < 24; ++seed) {
        SCOPED_TRACE(seed);
        Trial trial(seed);
        const QPair<QVector3D, QVector3D> scene({-6, -6, -6}, {6, 6, 6});
        RenderData data;
        ShadowMapManager::processLights(listOf({&trial.light}), data, &trial.view, &trial.projection, &scene);
        std::vector<QVector3D> points;
        std::vector<float> expected;
        while (points.size() < 200) {
            const QVector3D point = 5 * trial.point();
            if (!trial.isSeenAndReached(point)) {
                continue;
            }
            const bool isLit = trial.isLit(point);
            bool isInMap = false;
            bool isAtEdge = false;
            for (int i = 0; i < data.transformCount; ++i) {
                const QMatrix4x4 map = matrixOf(data.transforms[i]);
                const QVector4D at = map * QVector4D(point, 1);
                if (std::max(std::abs(at.x()), std::abs(at.y())) < at.w()) {
                    isInMap = true;
                    for (int corner = 0; corner < 8; ++corner) {
                        const QVector3D step(corner & 1 ? 1 : -1, corner & 2 ? 1 : -1,
                                             corner & 4 ? 0.1f : -0.1f);
                        const QVector3D beside = at.toVector3DAffine() + 2.0f / kMapSize * step;
                        isAtEdge = isAtEdge || trial.isLit(map.inverted().map(beside)) != isLit;
                    }
                }
            }
            ASSERT_TRUE(isInMap);
            if (isAtEdge) {
                ++atEdges;
            } else {
                points.push_back(point);
                expected.push_back(isLit ? 1 : 0);
                ++(isLit ? lit : shadowed);
            }
        }
        Texture depths(nullptr);
        Texture moments(nullptr);
        drawLayers(depths, moments, trial, data);
        for (Probe &probe : probes) {
            data.projectionTexture = &probe == probes ? &depths : &moments;
            const std::vector<QVector4D> actual = probe.ask(data, points);
            int wrong = 0;
            for (size_t i = 0; i < points.size(); ++i) {
                wrong += std::abs(actual[i].x() - expected[i]) < 0.01f ? 0 : 1;
            }
            EXPECT_EQ(0, wrong) << (&probe == probes ? "depths" : "moments");
        }
    }
    EXPECT_GT(lit, 3000);
    EXPECT_GT(shadowed, 700);
    EXPECT_LT(atEdges, 500);
}
