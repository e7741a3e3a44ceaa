// The look-ups in the shader: the functions at named depths, and shadows compared with rays to the light.

#include "support/DrawnPixels.h"
#include "support/GLFixture.h"
#include "support/ShadowTable.h"
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
        _program->setUniform("u_Normal", QVariant(QVector3D(1, 0, facing)));
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
uniform vec3 u_Normal;
uniform uint u_Light;
uniform bool u_Debug;
out vec4 color;
void main()
{
    vec3 point = texelFetch(u_Points, ivec2(gl_FragCoord.xy), 0).xyz;
    color = u_Debug ? shadowMapGetDebug(point.xy)
                    : vec4(shadowMapGetVisibility(u_Light, point),
                           shadowMapGetVisibility(u_Light, point, u_Normal, vec3(0.0, 0.0, 1.0)),
                           shadowMapGetVisibilitySingle(min(u_Light, 31u), point), 0.0);
}
)";

    GLSLMacroProcessor _processor;
    std::unique_ptr<ShaderProgram> _program;
};

/// Layers as a host should create them, with two moments in each texel: outside of one there is no shadow.
void makeLayers(Texture &layers, int size, const std::vector<QVector2D> &moments)
{
    const int count = int(moments.size()) / (size * size);
    layers.create3D(GL_TEXTURE_2D_ARRAY, GL_RG32F, size, size, count);
    const AutoBinder binder(&layers);
    glTexSubImage3D(GL_TEXTURE_2D_ARRAY, 0, 0, 0, 0, size, size, count, GL_RG, GL_FLOAT, moments.data());
    const float free[] = {1, 1, 1, 1};
    glTexParameterfv(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_BORDER_COLOR, free);
    for (const GLenum wrap : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T}) {
        glTexParameteri(GL_TEXTURE_2D_ARRAY, wrap, GL_CLAMP_TO_BORDER);
    }
}

using ShadowVisibilityTest = GLTest;

} // namespace

TEST_F(ShadowVisibilityTest, FunctionsCompareDepthsOrMoments)
{
    Texture layers(nullptr);
    // Variances of 0.01; two depths that count as empty; a variance that rounding has made negative.
    std::vector<QVector2D> moments = {{0.5f, 0.26f},    {0, 0.01f},    {1, 1.01f},
                                      {0.25f, 0.0525f}, {0.5f, 0.26f}, {0.75f, 0.5725f}};
    moments.resize(32, {0.5f, 0.2499f});
    makeLayers(layers, 1, moments);
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
    data.projectorInfos[5] = {2, 4};
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
        {3, 1.20f, 1, 0.1f, {1, 1, 0}, {1, 1, 0.2f}},               // no projection
        {4, 0.60f, 1, 0.1f, {0, 0, 1}, {0.41701f, 0.41701f, 1}},    // the first projection is skipped
        {5, 0.60f, 1, 0.1f, {0, 0, 0}, {0.41701f, 0.41701f, 0.5f}}, // the second projection shadows less
        {31, 0.45f, 0, 0.1f, {0, 1, 0}, {0, 1, 0}},
        {32, 0.60f, 1, 0.1f, {1, 1, 0}, {1, 1, 0}}, // no such light
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
    makeLayers(layers, 1, {{0.1f, 0.2f}, {0.3f, 0.4f}, {0.5f, 0.6f}});
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
        {{0.75f, 0.75f, 0}, {}},
    };
    Probe probe(0);
    for (const auto &[place, expected] : rows) {
        EXPECT_LT((expected - probe.ask(data, {place}, 0, 1, true)[0]).length(), 1e-5f)
            << &place - &rows->first;
    }
}

namespace {

constexpr int kMapSize = 64;

/// Balls in a cube of 10 units, seen by a random camera and lit by a random light.
class Trial
{
public:
    explicit Trial(unsigned int seed)
        : _random(seed)
    {
        for (int i = 0; i < 12; ++i) {
            _balls.emplace_back(3.5f * point(), number(0.4f, 1.4f));
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
        transform.rotate(rotation());
        transform.scale(seed % 12 < 6 ? 1 : -1, 1, 1);
        light.setTransform(transform);
        view.translate(0, 0, -9);
        view.rotate(rotation());
        projection.perspective(60, 1, 0.5f, 30);
    }

    float number(float low, float high) { return std::uniform_real_distribution<float>(low, high)(_random); }
    QQuaternion rotation()
    {
        return QQuaternion{number(-1, 1), number(-1, 1), number(-1, 1), number(-1, 1)}.normalized();
    }
    QVector3D point() { return {number(-1, 1), number(-1, 1), number(-1, 1)}; }

    /// Where the light that comes to this point starts.
    QVector3D startOf(const QVector3D &point) const
    {
        return light.type() == Light::eDirectional ? point - 30 * light.transform().column(2).toVector3D()
                                                   : light.transform().column(3).toVector3D();
    }

    /// The part of the light's way to the point until the first ball; 1 if it reaches the point.
    float firstHit(const QVector3D &point) const
    {
        const QVector3D start = startOf(point);
        const QVector3D along = point - start;
        float first = 1;
        for (const auto &[middle, radius] : _balls) {
            const float nearest = QVector3D::dotProduct(middle - start, along) / along.lengthSquared();
            const float aside = (start + nearest * along - middle).lengthSquared();
            const float half = std::sqrt((radius * radius - aside) / along.lengthSquared()); // NaN: missed
            first = nearest - half < first && nearest + half > 0 ? std::max(nearest - half, 0.0f) : first;
        }
        return first;
    }

    bool isLit(const QVector3D &point) const { return firstHit(point) == 1; }

    /// Whether an edge of a shadow is within about a texel.
    bool isAtEdge(const QVector3D &point) const
    {
        bool isAtEdge = false;
        for (int i = 0; i < 27; ++i) {
            const QVector3D step(float(i % 3 - 1), float(i / 3 % 3 - 1), float(i / 9 - 1));
            isAtEdge = isAtEdge || isLit(point + 0.35f * step) != isLit(point);
        }
        return isAtEdge;
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

    /// The layers that a host draws, with pancaking.
    std::vector<QVector2D> moments(const RenderData &data) const
    {
        std::vector<QVector2D> result;
        for (int i = 0; i < data.transformCount * kMapSize * kMapSize; ++i) {
            const QMatrix4x4 map = matrixOf(data.transforms[i / (kMapSize * kMapSize)]);
            const QVector2D texel(i % kMapSize + 0.5f, i / kMapSize % kMapSize + 0.5f);
            const QVector3D last = map.inverted().map(QVector3D(2 * texel / kMapSize - QVector2D(1, 1), 1));
            const float hit = std::max(firstHit(last), 1e-3f); // the light itself has no place in the map
            const float depth =
                std::clamp(map.map(startOf(last) + hit * (last - startOf(last))).z(), 1e-6f, 1.0f);
            result.emplace_back(hit < 1 ? depth : 1, hit < 1 ? depth * depth : 1);
        }
        return result;
    }

    Light light;
    QMatrix4x4 view;
    QMatrix4x4 projection;

private:
    std::vector<std::pair<QVector3D, float>> _balls; ///< centre and radius
    std::mt19937 _random;
};

} // namespace

TEST_F(ShadowVisibilityTest, ShadowsAgreeWithRaysOutsideOfOneTexelOfTheirEdges)
{
    int lit = 0;
    Probe probes[] = {Probe(0), Probe(1)};
    for (unsigned int seed = 0; seed < 12; ++seed) {
        SCOPED_TRACE(seed);
        Trial trial(seed);
        const QPair<QVector3D, QVector3D> scene({-6, -6, -6}, {6, 6, 6});
        RenderData data;
        ShadowMapManager::processLights(listOf({&trial.light}), data, &trial.view, &trial.projection, &scene);
        std::vector<QVector3D> points;
        std::vector<float> expected;
        for (int attempt = 0; attempt < 4000 && points.size() < 200; ++attempt) {
            const QVector3D point = 5 * trial.point();
            if (trial.isSeenAndReached(point) && !trial.isAtEdge(point)) {
                points.push_back(point);
                expected.push_back(trial.isLit(point) ? 1 : 0);
                lit += trial.isLit(point) ? 1 : 0;
            }
        }
        Texture layers(nullptr);
        makeLayers(layers, kMapSize, trial.moments(data));
        data.projectionTexture = &layers;
        for (Probe &probe : probes) {
            const std::vector<QVector4D> actual = probe.ask(data, points);
            int wrong = 0;
            for (size_t i = 0; i < points.size(); ++i) {
                wrong += std::abs(actual[i].x() - expected[i]) < 0.01f ? 0 : 1;
            }
            EXPECT_EQ(0, wrong) << (&probe == probes ? "depths" : "moments");
        }
    }
    EXPECT_TRUE(lit > 1000 && lit < 2100) << lit;
}
