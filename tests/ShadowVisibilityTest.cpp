// The look-ups in the shader: its functions compared with a model of them, and shadows compared with rays through the same
// triangles.

#include "support/DrawnPixels.h"
#include "support/GLFixture.h"
#include "support/ShadowTable.h"
#include "support/TestBuffer.h"
#include "support/TestProgram.h"
#include "support/Vec.h"

#include <ZelGL/ZelGL.h>

#include <QtGui/QVector2D>

#include <algorithm>
#include <cmath>
#include <optional>
#include <random>
#include <string>
#include <tuple>
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
        _program.setMacroProcessor(&_processor);
        _program.addShaderFromFile(GL_VERTEX_SHADER, "passthroughVS.glslc");
        _program.addShader(GL_FRAGMENT_SHADER, kFragmentStage, QString());
        _program.addShaderFromFile(GL_FRAGMENT_SHADER, ShadowMapManager::getShaderFile());
        EXPECT_TRUE(_program.link()) << qPrintable(_program.log());
    }

    /// The results of the three functions for a light that shines along z, or without a light the debug picture.
    std::vector<QVector4D> ask(RenderData &data, const std::vector<QVector3D> &points,
                               std::optional<unsigned int> light = {}, const QVector3D &normal = {})
    {
        constexpr int kWidth = 64;
        const int height = (int(points.size()) + kWidth - 1) / kWidth;
        std::vector<QVector3D> texels = points;
        texels.resize(size_t(kWidth * height));
        Texture source(nullptr);
        source.create2D(GL_TEXTURE_2D, GL_RGBA32F, kWidth, height);
        const AutoBinder sourceBinder(&source);
        glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, kWidth, height, GL_RGB, GL_FLOAT, texels.data());

        const AutoBinder binder(&_program);
        const QVariant variant = QVariant::fromValue<QObject *>(&data);
        EXPECT_TRUE(ShadowMapManager::bind(&_program, variant));
        _program.setUniform("u_Points", QVariant(int(source.unit())));
        _program.setUniform("u_Light", QVariant(light.value_or(0)));
        _program.setUniform("u_Normal", QVariant(normal));
        _program.setUniform("u_Debug", QVariant(!light));
        const Pixels pixels = drawnPixels(_program, kWidth, height);
        EXPECT_TRUE(ShadowMapManager::unbind(&_program, variant));
        return {pixels.data(), pixels.data() + points.size()};
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
    ShaderProgram _program{nullptr};
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

/// The same with two moments in each texel.
void makeLayers(Texture &layers, int size, const std::vector<QVector2D> &texels)
{
    const int count = int(texels.size()) / (size * size);
    makeLayers(layers, GL_RG32F, size, count);
    const AutoBinder binder(&layers);
    glTexSubImage3D(GL_TEXTURE_2D_ARRAY, 0, 0, 0, 0, size, size, count, GL_RG, GL_FLOAT, texels.data());
}

using ShadowVisibilityTest = GLTest;

// The functions compared with a model.

constexpr int kTexels = 4;
constexpr int kLayers = 3;

/// First and second moment of the depth in a layer's texel; some texels are empty, or closer than the projection begins.
QVector2D momentsOf(int layer, int x, int y)
{
    static constexpr float kDepths[] = {0.5f, 0.0f, 1.0f, 0.25f, 0.75f, -0.25f, 1.5f, 0.625f};
    const float depth = kDepths[(layer + x + 4 * y) % 8];
    return {depth,
            depth * depth + 0.01f * float((x + layer) % 3 - 1)}; // rounding may make a variance negative
}

struct Model
{
    const RenderData &data;
    bool variance;
    float clamp;

    /// The results of the three functions.
    QVector4D operator()(unsigned int light, const QVector3D &point, float bias) const
    {
        const auto [count, first] = data.projectorInfos[int(std::min(light, 31u))];
        QVector4D least(1, 1, 1, 0);
        for (int i = first; i < first + count && light < 32; ++i) {
            const auto [moments, depth] = at(i, point);
            if (moments.x() > 0 && moments.x() < 1) {
                least[0] = std::min(least[0], compare(moments, depth));
            }
            least[1] = std::min(least[1], compare(moments, depth - bias));
        }
        const auto [moments, depth] = at(first, point);
        least[2] = variance ? bound(moments, depth) : compare(moments, depth);
        return least;
    }

private:
    /// The moments of the layer there, and the depth of the point. Behind the light: values that mean no shadow.
    std::pair<QVector2D, float> at(int projector, const QVector3D &point) const
    {
        const QVector4D clip = matrixOf(data.transforms[projector]) * QVector4D(point, 1);
        if (clip.w() < 0) {
            return {{1, 1}, 0.0f};
        }
        const auto texel = [&](float place) {
            return std::clamp(int(std::floor((0.5f * place / clip.w() + 0.5f) * kTexels)), -1, kTexels);
        };
        const int x = texel(clip.x());
        const int y = texel(clip.y());
        const bool isBeside = std::min(x, y) < 0 || std::max(x, y) >= kTexels;
        return {isBeside ? QVector2D(1, 1) : momentsOf(projector, x, y), clip.z() / clip.w()};
    }

    static float bound(const QVector2D &moments, float depth)
    {
        const float d = depth - moments.x();
        const float m3 = moments.y() - moments.x() * moments.x();
        return d > 0 ? std::clamp(m3 / (m3 + d * d), 0.0f, 1.0f) : 1;
    }

    float compare(const QVector2D &moments, float depth) const
    {
        if (!variance) {
            return moments.x() - depth < 0 ? 0 : 1;
        }
        const float p = bound(moments, depth);
        const float t = std::max((p - clamp) / (1 - clamp), 0.0f);
        return p == 1 ? 1 : t * t * (3 - 2 * t);
    }
};

} // namespace

TEST_F(ShadowVisibilityTest, FunctionsAnswerAsTheirModelDoesForBothKindsOfLayers)
{
    std::vector<QVector2D> texels;
    for (int i = 0; i < kLayers * kTexels * kTexels; ++i) {
        texels.push_back(momentsOf(i / (kTexels * kTexels), i % kTexels, i / kTexels % kTexels));
    }
    Texture layers(nullptr);
    makeLayers(layers, kTexels, texels);
    RenderData data;
    data.projectionTexture = &layers;
    QMatrix4x4 shifted;
    shifted.translate(0.5f, 0.25f, 0.125f);
    QMatrix4x4 perspective;
    perspective.perspective(90, 1, 0.1f, 4);
    data.setTransform(1, shifted, 0);
    data.setTransform(2, perspective, 0);
    data.projectorInfos[0] = {1, 0};
    data.projectorInfos[1] = {3, 0};
    data.projectorInfos[5] = {0, 2};
    data.projectorInfos[31] = {1, 2};

    std::vector<QVector3D> points;
    for (const float z : {-3.0f, -1.0f, -0.2f, 0.0f, 0.25f, 0.3f, 0.5f, 0.55f, 0.7f, 0.98f, 1.2f}) {
        for (float y = -1.1875f; y < 1.25f; y += 0.125f) {
            for (float x = -1.1875f; x < 1.25f; x += 0.125f) {
                points.emplace_back(x, y, z);
            }
        }
    }
    for (const bool variance : {false, true}) {
        Probe probe(variance ? 1 : 0);
        for (const float clamp : {0.1f, 0.5f}) {
            ShadowMapManager::setVarianceClamping(clamp);
            const Model model{data, variance, clamp};
            for (const unsigned int light : {0u, 1u, 5u, 31u, 32u}) {
                for (const float facing : {1.0f, 0.25f, -0.5f}) {
                    SCOPED_TRACE(testing::Message() << "light " << light << " facing " << facing);
                    const std::vector<QVector4D> answers = probe.ask(data, points, light, {1, 0, facing});
                    for (size_t i = 0; i < points.size(); ++i) {
                        const QVector4D expected = model(light, points[i], 0.05f * (1 - facing));
                        ASSERT_LT((expected - answers[i]).length(), 1e-4f) << i;
                    }
                }
            }
        }
    }
    // With the maximum clamp, lit points stay lit.
    ShadowMapManager::setVarianceClamping(1);
    EXPECT_EQ(QVector4D(1, 1, 1, 0), Probe(1).ask(data, {{-0.9f, -0.9f, 0.25f}}, 0).front());
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
        {{0.75f, 0.75f, 0}, {}}};
    Probe probe(0);
    for (const auto &[place, expected] : rows) {
        EXPECT_LT((expected - probe.ask(data, {place}).front()).length(), 1e-5f)
            << place.x() << ' ' << place.y();
    }
}

// Shadows compared with rays.

namespace {

constexpr int kMapSize = 256;
constexpr double kDepthStep = 1e-5; ///< bias, in addition to half a texel of slope

struct Triangle
{
    Vec a, b, c;

    Vec normal() const { return cross(b - a, c - a); }

    /// Where a ray intersects the plane, and whether that is inside the triangle (Möller and Trumbore, 1997).
    double planeAt(const Vec &from, const Vec &along) const
    {
        return dot(normal(), a - from) / dot(normal(), along);
    }
    bool isHit(const Vec &from, const Vec &along) const
    {
        const Vec p = cross(along, c - a);
        const double determinant = dot(b - a, p);
        const double u = dot(from - a, p) / determinant;
        const double v = dot(along, cross(from - a, b - a)) / determinant;
        return u >= 0 && v >= 0 && u + v <= 1; // false for a ray in the plane
    }
};

/// A floor, boxes and single triangles in a cube of 10 units.
class Scene
{
public:
    Scene()
    {
        addQuad({-4.8f, -4.5f, -4.8f}, {9.6f, 0.3f, 0}, {0, 0, 9.6f});
        for (int i = 0; i < 6; ++i) {
            QMatrix4x4 turn;
            turn.rotate(number(0, 360), point());
            const QVector3D edges[] = {turn * QVector3D(number(0.6f, 2), 0, 0),
                                       turn * QVector3D(0, number(0.6f, 2), 0),
                                       turn * QVector3D(0, 0, number(0.6f, 2))};
            const QVector3D corner = 3.4f * point() - 0.5f * (edges[0] + edges[1] + edges[2]);
            for (int axis = 0; axis < 3; ++axis) {
                for (const QVector3D &side : {corner, corner + edges[axis]}) {
                    addQuad(side, edges[(axis + 1) % 3], edges[(axis + 2) % 3]);
                }
            }
        }
        for (int i = 0; i < 12; ++i) {
            const QVector3D corner = 3.5f * point();
            add(corner, corner + 1.2f * point(), corner + 1.2f * point());
        }
    }

    /// A random triangle and a point on it. Half of the points are on the floor.
    std::pair<size_t, Vec> somewhere()
    {
        const size_t triangle = _random() % 2 == 0 ? _random() % 2 : _random() % triangles.size();
        double u = double(number(0, 1));
        double v = double(number(0, 1));
        if (u + v > 1) {
            u = 1 - u;
            v = 1 - v;
        }
        const Triangle &t = triangles[triangle];
        return {triangle, t.a + u * (t.b - t.a) + v * (t.c - t.a)};
    }

    /// The distance to the first triangle on a ray.
    double firstHit(const Vec &from, const Vec &along) const
    {
        double first = HUGE_VAL;
        for (const Triangle &triangle : triangles) {
            if (triangle.isHit(from, along)) {
                const double at = triangle.planeAt(from, along);
                first = at > 0 ? std::min(first, at) : first;
            }
        }
        return first;
    }

    QVector<float> positions() const
    {
        QVector<float> result;
        for (const Triangle &triangle : triangles) {
            for (const Vec &corner : {triangle.a, triangle.b, triangle.c}) {
                const QVector3D position = corner.rounded();
                result << position.x() << position.y() << position.z();
            }
        }
        return result;
    }

    std::vector<Triangle> triangles;

private:
    float number(float low, float high) { return std::uniform_real_distribution<float>(low, high)(_random); }
    QVector3D point() { return {number(-1, 1), number(-1, 1), number(-1, 1)}; }
    void add(const QVector3D &a, const QVector3D &b, const QVector3D &c) { triangles.push_back({a, b, c}); }
    void addQuad(const QVector3D &corner, const QVector3D &u, const QVector3D &v)
    {
        add(corner, corner + u, corner + v);
        add(corner + u + v, corner + v, corner + u);
    }

    std::mt19937 _random{3};
};

/// Draws the layers of a table into its own depth texture, as a host does.
class Layers
{
public:
    Layers(const Scene &scene, RenderData &data)
    {
        makeLayers(_texture, GL_DEPTH_COMPONENT32F, kMapSize, data.transformCount);
        const auto program = makeProgram(kVertexStage, "#version 150\nvoid main() {}");
        const AutoBinder binder(program.get());
        DrawBuffers unit(nullptr);
        unit.setVAO(OpenGLDeviceContext::current()->newVAO());
        unit.VAO()->upload("va_Vertex", makeBuffer(GL_ARRAY_BUFFER), scene.positions(), 3, GL_STATIC_DRAW);
        unit.setPrimitiveType(GL_TRIANGLES);
        unit.setVertexCount(unsigned(3 * scene.triangles.size()));
        const AutoBinder unitBinder(&unit);
        unit.VAO()->enableShaderProgramArrays(program.get());
        FramebufferObject framebuffer(nullptr);
        const AutoBinder framebufferBinder(&framebuffer);
        glViewport(0, 0, kMapSize, kMapSize);
        glEnable(GL_DEPTH_TEST);
        for (int layer = 0; layer < data.transformCount; ++layer) {
            framebuffer.attach3D(&_texture, GL_DEPTH_ATTACHMENT, layer, 0);
            framebuffer.setDrawBuffers();
            EXPECT_TRUE(framebuffer.isComplete());
            glClear(GL_DEPTH_BUFFER_BIT);
            program->setUniform("u_Projection", QVariant(matrixOf(data.transforms[layer])));
            unit.draw(program.get());
            framebuffer.detach(GL_DEPTH_ATTACHMENT);
        }
        glDisable(GL_DEPTH_TEST);
        data.projectionTexture = &_texture;
    }

private:
    static constexpr char kVertexStage[] = R"(#version 150
uniform mat4 u_Projection;
in vec3 va_Vertex;
void main()
{
    gl_Position = u_Projection * vec4(va_Vertex, 1.0);
    gl_Position.z = 2.0 * gl_Position.z - gl_Position.w;
}
)";

    Texture _texture{nullptr};
};

/// Whether a point is lit; no value at the edge of a shadow.
using Verdict = std::optional<bool>;

/// The expected result for a point, from rays through its position in the map and through positions up to a texel away.
class Judge
{
public:
    Judge(const Scene &scene, const Light &light, const RenderData::Transform &transform)
        : _scene(scene)
        , _matrix(matrixOf(transform))
        , _toWorld(_matrix.inverted())
        , _isDirectional(light.type() == Light::eDirectional)
        , _apex(light.transform().column(3).toVector3D())
        , _along(light.transform().column(2).toVector3D().normalized())
    {
    }

    /// Whether the point is in the map.
    bool holds(const Vec &point) const
    {
        const QVector4D at = project(point);
        return at.w() > 0 && std::abs(at.x()) <= at.w() && std::abs(at.y()) <= at.w();
    }

    /// Of two points on a ray of light, the one that the light reaches first.
    Vec closer(const Vec &a, const Vec &b) const { return place(a).z() < place(b).z() ? a : b; }

    /// The point moved toward the light until no part of its plane inside its texel is closer to the light: the bias
    /// that avoids shadow acne, from the change of the plane's depth across a texel.
    Vec biased(size_t receiver, const Vec &point) const
    {
        const QVector3D at = place(point);
        float slope = 0;
        for (const QVector3D &texel : {QVector3D(kTexel, 0, 0), QVector3D(0, kTexel, 0)}) {
            const auto [from, along] = rayThrough(_toWorld.map(at + texel));
            const Vec beside = from + _scene.triangles[receiver].planeAt(from, along) * along;
            slope += std::abs(place(beside).z() - at.z());
        }
        return _toWorld.map(at - QVector3D(0, 0, 0.5f * slope + kDepthStep));
    }

    Verdict operator()(size_t receiver, const Vec &point) const
    {
        const QVector3D at = place(point);
        const Verdict here = atPlace(receiver, at.z(), point);
        for (int x = -2; x <= 2; ++x) { // in steps of half a texel
            for (int y = -2; y <= 2; ++y) {
                const QVector3D beside = at + 0.5f * kTexel * QVector3D(float(x), float(y), 0);
                if (atPlace(receiver, at.z(), _toWorld.map(beside)) != here) {
                    return {};
                }
            }
        }
        return here;
    }

    /// Whether the light reaches the point, from the ray alone.
    bool isLit(const Vec &point) const
    {
        const auto [from, along] = rayThrough(point);
        return _scene.firstHit(from, along) > length(point - from) - 1e-6;
    }

private:
    static constexpr float kTexel = 2.0f / kMapSize;

    QVector4D project(const Vec &point) const { return _matrix * QVector4D(point.rounded(), 1); }

    QVector3D place(const Vec &point) const
    {
        const QVector4D clip = project(point);
        return clip.toVector3D() / clip.w();
    }

    std::pair<Vec, Vec> rayThrough(const Vec &point) const
    {
        const Vec from = _isDirectional ? point - 100 * _along : _apex;
        return {from, (1 / length(point - from)) * (point - from)};
    }

    Verdict atPlace(size_t receiver, float depth, const Vec &beside) const
    {
        const auto [from, along] = rayThrough(beside);
        const double ground = _scene.triangles[receiver].planeAt(from, along);
        const double first = _scene.firstHit(from, along);
        if (ground > 0 && first > ground - 1e-4) {
            return true;
        }
        const bool isShadowed = ground > 0 && place(from + first * along).z() < depth - kDepthStep;
        return isShadowed ? Verdict(false) : std::nullopt;
    }

    const Scene &_scene;
    QMatrix4x4 _matrix;
    QMatrix4x4 _toWorld;
    bool _isDirectional;
    Vec _apex;
    Vec _along;
};

struct Rig
{
    const char *name;
    Light::Type type;
    int projections; ///< the expected number
    int cascades;
    float cutoff;
};

void PrintTo(const Rig &rig, std::ostream *out)
{
    *out << rig.name;
}

/// A light, and whether its transform mirrors.
using Lighting = std::tuple<Rig, bool>;

class ShadowTruthTest : public ShadowVisibilityTest, public testing::WithParamInterface<Lighting>
{
protected:
    ShadowTruthTest()
    {
        const auto &[rig, isMirrored] = GetParam();
        _light.setType(rig.type);
        _light.setCSMLevels(rig.cascades);
        _light.setSpotCutoff(rig.cutoff);
        QMatrix4x4 transform;
        if (rig.type == Light::eDirectional) {
            transform.translate(0.5f, -1, 2); // inside the part of the scene that is seen
            transform.rotate(70, 1, 0.2f, 0.1f);
        } else {
            transform.translate(0.2f, rig.projections == 1 ? 4.5f : 0.6f, 0.4f);
            transform.rotate(-80, 1, 0.1f, 0.2f);
        }
        transform.scale(isMirrored ? -1 : 1, 1, 1);
        _light.setTransform(transform);
        _view.lookAt({4, 5, 9}, {0, -1, 0}, {0, 1, 0});
        _projection.perspective(60, 1, 0.5f, 30);
    }

    bool isSeen(const Vec &point) const
    {
        const QVector4D at = _projection * _view * QVector4D(point.rounded(), 1);
        return std::max({std::abs(at.x()), std::abs(at.y()), std::abs(at.z())}) < at.w();
    }

    /// Whether the point is inside the cone or in the directions of the faces.
    bool isReached(const Vec &point) const
    {
        const Rig &rig = std::get<Rig>(GetParam());
        const QVector3D at = _light.transform().inverted().map(point.rounded());
        const float side = std::max(std::abs(at.x()), std::abs(at.y()));
        switch (rig.projections) {
        case 1:
            return rig.type == Light::eDirectional || side < -at.z() * std::tan(rig.cutoff);
        case 5:
            return side > at.z();
        default:
            return true;
        }
    }

    Light _light;
    QMatrix4x4 _view;
    QMatrix4x4 _projection;
};

} // namespace

TEST_P(ShadowTruthTest, ShadowsAgreeWithRaysOutsideOfOneTexelOfTheirEdges)
{
    Scene scene;
    const QPair<QVector3D, QVector3D> box({-5, -5, -5}, {5, 5, 5});
    RenderData data;
    ASSERT_TRUE(ShadowMapManager::processLights(listOf({&_light}), data, &_view, &_projection, &box));
    ASSERT_EQ(std::get<Rig>(GetParam()).projections, data.transformCount);
    const Layers layers(scene, data);

    std::vector<Judge> judges;
    for (int i = 0; i < data.transformCount; ++i) {
        judges.emplace_back(scene, _light, data.transforms[i]);
    }
    std::vector<QVector3D> points;
    std::vector<bool> expected;
    int dropped = 0;
    while (points.size() < 2000) {
        const auto [receiver, point] = scene.somewhere();
        if (!isSeen(point) || !isReached(point)) {
            continue;
        }
        std::vector<const Judge *> holding;
        Vec biased = point;
        for (const Judge &judge : judges) {
            if (judge.holds(point)) {
                holding.push_back(&judge);
                biased = judge.closer(biased, judge.biased(receiver, point));
            }
        }
        ASSERT_FALSE(holding.empty());
        const auto isAtEdge = [&, receiver = receiver](const Judge *judge) {
            return !(*judge)(receiver, biased);
        };
        if (std::any_of(holding.begin(), holding.end(), isAtEdge)) {
            ++dropped;
            continue;
        }
        expected.push_back(judges[0].isLit(point));
        points.push_back(biased.rounded());
    }
    const std::vector<QVector4D> answers = Probe(0).ask(data, points, 0);
    int wrong = 0;
    for (size_t i = 0; i < points.size(); ++i) {
        wrong += (expected[i] ? 1.0f : 0.0f) == answers[i].x() ? 0 : 1;
    }
    const int lit = int(std::count(expected.begin(), expected.end(), true));
    EXPECT_EQ(0, wrong) << "with " << lit << " lit points";
    EXPECT_GT(lit, 500);
    EXPECT_LT(lit, 1500);
    EXPECT_LT(dropped, 500);
    RecordProperty("lit", lit);
    RecordProperty("atEdges", dropped);
}

INSTANTIATE_TEST_SUITE_P(Lights, ShadowTruthTest,
                         testing::Combine(testing::Values(Rig{"Sun", Light::eDirectional, 1, 0, -1},
                                                          Rig{"SunWith4Cascades", Light::eDirectional, 4, 4,
                                                              -1},
                                                          Rig{"Spot", Light::eSpot, 1, 0, 0.7f},
                                                          Rig{"PointWith1Face", Light::ePoint, 1, 0, 0.7f},
                                                          Rig{"PointWith5Faces", Light::ePoint, 5, 0, 1.5f},
                                                          Rig{"PointWith6Faces", Light::ePoint, 6, 0, -1}),
                                          testing::Bool()),
                         [](const auto &lighting) {
                             return std::get<Rig>(lighting.param).name
                                    + std::string(std::get<bool>(lighting.param) ? "Mirrored" : "");
                         });
