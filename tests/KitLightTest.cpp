// The light of ZelGL::Kit: shadows.

#include "support/DrawnPixels.h"
#include "support/GLFixture.h"
#include "support/TestProgram.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/ZelKit.h>

#include <QtGui/QOpenGLContext>

#include <cmath>
#include <tuple>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;

namespace {

constexpr int kSide = 96;     ///< of the picture of the floor, in pixels
constexpr int kSlats = 4;     ///< upright plates above the floor
constexpr float kSlat = 0.6f; ///< their width and height

QVector3D slatCorner(int slat)
{
    return {-1.5f + 0.8f * float(slat), 0.2f, 0.3f * float(slat % 3) - 0.4f};
}

/// Draws the slats with the light's projection, and the shadows on the floor as seen from above by an eye that does not move.
class Floor
{
public:
    Floor(const ShadowLayers::Options &options, const ShadowLight &light)
        : _light(light)
        , _layers(ShadowLayers::create(options))
        , _vertexArray(OpenGLDeviceContext::current()->newVAO())
    {
        ShadowLayers::setUp(&_processor, options.kind);
        const QString vertexStage = R"(#version 150
#include "KitCasterVertex.glslh"
uniform mat4 u_Projection;
void main()
{
    int slat = gl_VertexID / 6;
    vec2 corner = vec2(ivec2(0x26, 0x34) >> (gl_VertexID % 6) & 1) * 0.6;
    vec3 place = vec3(-1.5 + 0.8 * slat, 0.2, 0.3 * (slat % 3) - 0.4) + vec3(corner, 0.5 * corner.x);
    gl_Position = shadowCasterPosition(u_Projection * vec4(place, 1.0));
})";
        const bool isPlain = options.kind == ShadowLayers::ePlain;
        _casters = makeProgram(vertexStage, isPlain ? "#version 150\nvoid main() {}" : R"(#version 150
#include "KitCasterFragment.glslh"
out vec4 color;
void main() { color = shadowCasterMoments(); })",
                               &_processor);
        _floor = makeProgram(kAllOver, R"(#version 150
#include "KitShadows.glslh"
out vec4 color;
void main()
{
    vec3 place = vec3(gl_FragCoord.x / 24.0 - 2.0, 0.0, gl_FragCoord.y / 24.0 - 2.0);
    color = vec4(shadowVisibility(0, place, vec3(0.0, 1.0, 0.0), shadowDirectionTo(0, place)));
})",
                             &_processor, {ShadowLayers::shaderFile()});
        _layers->setLights({light});
    }

    Pixels seenWith(const QMatrix4x4 &view)
    {
        QMatrix4x4 projection;
        projection.perspective(50, 1.3f, 0.1f, 100);
        EXPECT_TRUE(_layers->update(view, projection, {{-2.1f, -0.1f, -2.1f}, {2.1f, 0.9f, 2.1f}},
                                    [this](const ShadowLayers::Layer &layer) {
                                        const AutoBinder bound(_casters.get());
                                        const AutoBinder boundArray(_vertexArray.data());
                                        _casters->setUniform("u_Projection", QVariant(layer.projection));
                                        glDrawArrays(GL_TRIANGLES, 0, 6 * kSlats);
                                    }));
        const AutoBinder bound(_floor.get());
        EXPECT_TRUE(_layers->bind(_floor.get()));
        Pixels pixels = drawnPixels(*_floor, kSide, kSide);
        EXPECT_TRUE(_layers->unbind(_floor.get()));
        return pixels;
    }

    /// Whether a ray from a pixel to the light passes all slats.
    bool isLit(int x, int y) const
    {
        const QVector3D from((float(x) + 0.5f) / 24 - 2, 0, (float(y) + 0.5f) / 24 - 2);
        const QVector3D ray =
            _light.type == ShadowLight::eDirectional ? -_light.direction : _light.position - from;
        for (int slat = 0; slat < kSlats; ++slat) {
            const QVector3D corner = slatCorner(slat);
            const QVector3D normal(-0.5f, 0, 1); // the slat goes along (1, 0, 0.5) and up
            const float along =
                QVector3D::dotProduct(corner - from, normal) / QVector3D::dotProduct(ray, normal);
            const QVector3D hit = from + along * ray - corner;
            if (along > 0 && hit.x() > 0 && hit.x() < kSlat && hit.y() > 0 && hit.y() < kSlat) {
                return false;
            }
        }
        return true;
    }

    ShadowLayers &layers() { return *_layers; }

private:
    ShadowLight _light;
    GLSLMacroProcessor _processor;
    std::unique_ptr<ShadowLayers> _layers;
    QSharedPointer<VertexArrayObject> _vertexArray;
    std::unique_ptr<ShaderProgram> _casters;
    std::unique_ptr<ShaderProgram> _floor;
};

ShadowLight makeLight(ShadowLight::Type type)
{
    ShadowLight light;
    light.type = type;
    light.direction = QVector3D(-0.2f, -0.8f, -0.7f).normalized();
    light.position = -3 * light.direction;
    return light;
}

/// The camera of a frame of a slow flight: it moves by a quarter of a texel of the finest cascade, and turns.
QMatrix4x4 viewOf(int frame)
{
    const float t = 0.0011f * float(frame);
    QMatrix4x4 view;
    view.lookAt({0.4f + t, 1.6f + 0.4f * t, 3.5f - 0.7f * t}, {0.5f * t, 0.2f, 0}, {0, 1, 0});
    return view;
}

int changedPixels(const Pixels &a, const Pixels &b)
{
    int changed = 0;
    for (int i = 0; i < kSide * kSide; ++i) {
        changed += std::abs(a.at(i % kSide, i / kSide).x() - b.at(i % kSide, i / kSide).x()) > 1.0f / 255;
    }
    return changed;
}

using KitLightTest = GLTest;

} // namespace

TEST_F(KitLightTest, ShadowsOfEveryLightAgreeWithRaysAwayFromTheirEdges)
{
    const struct
    {
        ShadowLight::Type type;
        ShadowLayers::Kind kind;
        bool isStable;
        int layers;
    } rows[] = {{ShadowLight::ePoint, ShadowLayers::ePlain, false, 4},
                {ShadowLight::eSpot, ShadowLayers::ePlain, true, 1},
                {ShadowLight::ePoint, ShadowLayers::eVariance, false, 4},
                {ShadowLight::eDirectional, ShadowLayers::ePlain, false, 4},
                {ShadowLight::eDirectional, ShadowLayers::ePlain, true, 3},
                {ShadowLight::eDirectional, ShadowLayers::eVariance, true, 3}};
    for (const auto &row : rows) {
        SCOPED_TRACE(int(&row - rows));
        ShadowLayers::Options options;
        options.kind = row.kind;
        options.side = 512;
        options.isStable = row.isStable;
        Floor floor(options, makeLight(row.type));
        const Pixels seen = floor.seenWith(viewOf(0));
        EXPECT_EQ(row.layers, floor.layers().layerCount());
        const auto rays =
            Pixels::of(kSide, kSide, [&](int x, int y) { return QVector4D(floor.isLit(x, y), 0, 0, 0); });
        int wrong = 0;
        int shadowed = 0;
        constexpr int kEdge = 3;
        for (int y = kEdge; y < kSide - kEdge; ++y) {
            for (int x = kEdge; x < kSide - kEdge; ++x) {
                const float expected = rays.at(x, y).x();
                bool isEdge = false;
                for (int step = -kEdge; step <= kEdge; ++step) {
                    for (const int across : {-kEdge, 0, kEdge}) {
                        isEdge = isEdge || rays.at(x + step, y + across).x() != expected
                                 || rays.at(x + across, y + step).x() != expected;
                    }
                }
                wrong += !isEdge && std::abs(seen.at(x, y).x() - expected) > 0.1f;
                shadowed += !isEdge && expected == 0;
            }
        }
        EXPECT_EQ(0, wrong);
        EXPECT_GT(shadowed, 30);
    }
}

TEST_F(KitLightTest, StableCascadesKeepTheEdgesOfShadowsWhileTheCameraMoves)
{
    for (const auto kind : {ShadowLayers::ePlain, ShadowLayers::eVariance}) {
        int changed[2] = {};
        for (const bool isStable : {false, true}) {
            ShadowLayers::Options options;
            options.kind = kind;
            options.side = 512;
            options.isStable = isStable;
            Floor floor(options, makeLight(ShadowLight::eDirectional));
            Pixels before = floor.seenWith(viewOf(0));
            for (int frame = 1; frame <= 12; ++frame) {
                const Pixels now = floor.seenWith(viewOf(frame));
                changed[isStable] += changedPixels(before, now);
                before = now;
            }
        }
        RecordProperty(kind == ShadowLayers::ePlain ? "plain" : "variance",
                       QString("%1 to %2").arg(changed[0]).arg(changed[1]).toStdString());
        EXPECT_GE(changed[0], 20 * changed[1]);
        EXPECT_GT(changed[0], 200);
    }
}

TEST_F(KitLightTest, TheBudgetOfLayersHolds)
{
    for (const auto &[isStable, budget, layers] :
         {std::tuple(false, 32, 8), {false, 6, 6}, {true, 32, 7}, {true, 2, 2}}) {
        ShadowLayers::Options options;
        options.side = 8;
        options.maxLayers = budget;
        options.isStable = isStable;
        Floor floor(options, {});
        floor.layers().setLights({makeLight(ShadowLight::ePoint), makeLight(ShadowLight::eDirectional)});
        floor.seenWith(viewOf(0));
        EXPECT_EQ(layers, floor.layers().layerCount());
        EXPECT_EQ(layers, floor.layers().renderedCount());
        floor.seenWith(viewOf(0));
        EXPECT_EQ(0, floor.layers().renderedCount());
    }
}

TEST_F(KitLightTest, ShadowLayersNameWhatTheyCannotUse)
{
    const auto errorOf = [](int cascades, int maxLayers, int side) {
        ShadowLayers::Options options;
        options.cascades = cascades;
        options.maxLayers = maxLayers;
        options.side = side;
        QString error;
        EXPECT_EQ(nullptr, ShadowLayers::create(options, &error));
        return error;
    };
    EXPECT_EQ("shadow layers: 'cascades' must be from 1 to 32, not 0", errorOf(0, 1, 1));
    EXPECT_EQ("shadow layers: 'maxLayers' must be from 1 to 32, not 33", errorOf(1, 33, 1));
    EXPECT_TRUE(errorOf(1, 1, 1 << 30).startsWith("shadow layers: 'side' must be from 1 to "));
    context()->doneCurrent();
    EXPECT_EQ("shadow layers: no OpenGL context is current; make one current first", errorOf(1, 1, 1));
    makeCurrent();

    const auto layers = ShadowLayers::create({});
    QString error;
    const QPair<QVector3D, QVector3D> box({0, 0, 0}, {1, 1, 1});
    context()->doneCurrent();
    EXPECT_FALSE(layers->update(
        {}, {}, box, [](const auto &) {}, &error));
    EXPECT_TRUE(error.contains("no OpenGL context is current"));
    makeCurrent();
    EXPECT_FALSE(layers->update({}, {}, box, {}, &error));
    EXPECT_EQ("shadow layers: update() needs a function that draws the casters", error);
    for (const float end : {-1.0f, INFINITY, NAN}) {
        EXPECT_FALSE(layers->update(
            {}, {}, {box.first, {1, 1, end}}, [](const auto &) {}, &error));
        EXPECT_TRUE(error.startsWith("shadow layers: the box is empty or not finite; "));
    }
    EXPECT_FALSE(layers->bind(nullptr));
    EXPECT_FALSE(layers->unbind(nullptr));
    EXPECT_MESSAGES("warning ZelKit: shadow layers: bind() needs a program that is bound",
                    "warning ZelKit: shadow layers: unbind() needs the program of bind()");
    ShadowLayers::setUp(nullptr, ShadowLayers::ePlain); // does nothing
}
