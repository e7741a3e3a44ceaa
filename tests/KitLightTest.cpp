// The light of ZelGL::Kit: shadows, environments and finished pictures.

#include "support/DrawnPixels.h"
#include "support/GLFixture.h"
#include "support/Tap.h"
#include "support/TestProgram.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/ZelKit.h>

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/qfloat16.h>
#include <QtGui/QOpenGLContext>

#include <cmath>
#include <cstring>
#include <tuple>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;

namespace {

constexpr int kSide = 96;     ///< of the picture of the floor, in pixels
constexpr int kSlats = 4;     ///< upright plates above the floor
constexpr float kSlat = 0.6f; ///< their width and height

/// Draws the floor and the slats with the light's projection, and the shadows on the floor as seen from above by an eye that does
/// not move.
class Floor
{
public:
    /// \a gap: below the slats.
    Floor(const ShadowLayers::Options &options, const ShadowLight &light, float gap = 0.2f)
        : _light(light)
        , _gap(gap)
        , _layers(ShadowLayers::create(options))
        , _vertexArray(OpenGLDeviceContext::current()->newVAO())
    {
        const QString vertexStage = R"(#version 150
uniform mat4 u_Projection;
uniform float u_Gap;
void main()
{
    int slat = gl_VertexID / 6;
    vec2 corner = vec2(ivec2(0x26, 0x34) >> (gl_VertexID % 6) & 1) * 0.6;
    vec3 place = vec3(-1.5 + 0.8 * slat, u_Gap, 0.3 * (slat % 3) - 0.4) + vec3(corner, 0.5 * corner.x);
    if (slat == 4) {
        place = vec3(7.0 * corner.x - 2.1, 0.0, 7.0 * corner.y - 2.1); // the floor
    }
    gl_Position = u_Projection * vec4(place, 1.0);
})";
        _casters = _layers->buildCasters(vertexStage);
        _floor = _layers->build(kAllOver, R"(#version 150
#include "KitShadows.glslh"
out vec4 color;
void main()
{
    vec3 place = vec3(gl_FragCoord.x / 24.0 - 2.0, 0.0, gl_FragCoord.y / 24.0 - 2.0);
    color.r = shadowVisibility(0, place, vec3(0.0, 1.0, 0.0), shadowDirectionTo(0, place));
    color.g = shadowIrradiance(0, place, vec3(0.0, 1.0, 0.0));
})");
        _layers->setLights({light});
    }

    Pixels seenWith(const QMatrix4x4 &view)
    {
        QMatrix4x4 projection;
        projection.perspective(50, 1.3f, 0.1f, 100);
        auto scissorTest = std::make_unique<AutoEnabler>(GL_SCISSOR_TEST); // of the host, for its own draws
        glScissor(0, 0, 1, 1);
        EXPECT_TRUE(_layers->update(view, projection, {{-2.1f, -0.1f, -2.1f}, {2.1f, 0.9f, 2.1f}},
                                    [this](const ShadowLayers::Layer &layer) {
                                        const AutoBinder bound(_casters.get());
                                        const AutoBinder boundArray(_vertexArray.data());
                                        _casters->setUniform("u_Projection", QVariant(layer.projection));
                                        _casters->setUniform("u_Gap", QVariant(_gap));
                                        glDrawArrays(GL_TRIANGLES, 0, 6 * (kSlats + 1));
                                    }));
        scissorTest.reset();
        const AutoBinder bound(_floor.get());
        EXPECT_TRUE(_layers->bind(_floor.get()));
        Pixels pixels = drawnPixels(*_floor, kSide, kSide);
        EXPECT_TRUE(_layers->unbind(_floor.get()));
        return pixels;
    }

    static QVector3D placeOf(int x, int y)
    {
        return {(float(x) + 0.5f) / 24 - 2, 0, (float(y) + 0.5f) / 24 - 2};
    }

    QVector3D toLight(int x, int y) const
    {
        return _light.type == ShadowLight::eDirectional ? -_light.direction : _light.position - placeOf(x, y);
    }

    /// Of a lit pixel.
    float irradiance(int x, int y) const
    {
        const QVector3D ray = toLight(x, y);
        const QVector3D direction = ray.normalized();
        const float angle = std::acos(-QVector3D::dotProduct(direction, _light.direction));
        const float beyond = (angle / _light.halfAngle - 0.9f) / 0.1f; // of the part with full strength
        const bool isSpot = _light.type == ShadowLight::eSpot;
        return isSpot && beyond > 1 ? 0 : isSpot && beyond > 0 ? NAN : direction.y() / ray.lengthSquared();
    }

    /// Whether a ray from a pixel to the light passes all slats.
    bool isLit(int x, int y) const
    {
        const QVector3D from = placeOf(x, y);
        const QVector3D ray = toLight(x, y);
        for (int slat = 0; slat < kSlats; ++slat) {
            const QVector3D corner(-1.5f + 0.8f * float(slat), _gap, 0.3f * float(slat % 3) - 0.4f);
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
    float _gap;
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
using KitLightOwnProcessTest = MessageTest;

} // namespace

TEST_F(KitLightTest, ShadowsOfEveryLightAgreeWithRaysAwayFromTheirEdges)
{
    ShadowLight wideSpot = makeLight(ShadowLight::eSpot);
    wideSpot.position = {0.3f, 1.2f, 1.05f};
    wideSpot.halfAngle = 1.15f;
    ShadowLight lamp = makeLight(ShadowLight::ePoint);
    lamp.position = wideSpot.position;
    const struct
    {
        ShadowLight light;
        ShadowLayers::Kind kind;
        bool isStable;
        int layers;
        int side = 512;
        float gap = 0.2f;
    } rows[] = {
        {makeLight(ShadowLight::ePoint), ShadowLayers::ePlain, false, 4},
        {makeLight(ShadowLight::eSpot), ShadowLayers::ePlain, true, 1},
        {makeLight(ShadowLight::ePoint), ShadowLayers::eVariance, false, 4},
        {makeLight(ShadowLight::eDirectional), ShadowLayers::ePlain, false, 4},
        {makeLight(ShadowLight::eDirectional), ShadowLayers::ePlain, true, 3},
        {makeLight(ShadowLight::eDirectional), ShadowLayers::eVariance, true, 3},
        {makeLight(ShadowLight::eSpot), ShadowLayers::eVariance, false, 1},
        // The floor faces the light, but not its layer: no acne. Slats on the floor: no peter-panning.
        {wideSpot, ShadowLayers::ePlain, false, 1, 256, 0},
        {lamp, ShadowLayers::ePlain, false, 4, 256, 0}};
    for (const auto &row : rows) {
        SCOPED_TRACE(int(&row - rows));
        ShadowLayers::Options options;
        options.kind = row.kind;
        options.side = row.side;
        options.isStable = row.isStable;
        Floor floor(options, row.light, row.gap);
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
                const float full = floor.irradiance(x, y);
                wrong += std::abs(seen.at(x, y).y() - seen.at(x, y).x() * full) > 0.002f * full; // not a NaN
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
    EXPECT_EQ("shadow layers: no OpenGL context is current, or initializeGLFunctions() has not been called",
              errorOf(1, 1, 1));
    makeCurrent();

    const auto layers = ShadowLayers::create({});
    QString error;
    const Bounds box({0, 0, 0}, {1, 1, 1});
    context()->doneCurrent();
    EXPECT_FALSE(layers->update(
        {}, {}, box, [](const auto &) {}, &error));
    EXPECT_TRUE(error.contains("no OpenGL context is current"));
    makeCurrent();
    EXPECT_FALSE(layers->update({}, {}, box, {}, &error));
    EXPECT_EQ("shadow layers: update() needs a function that draws the casters", error);
    for (const float end : {-1.0f, INFINITY, NAN}) {
        EXPECT_FALSE(layers->update(
            {}, {}, {{0, 0, 0}, {1, 1, end}}, [](const auto &) {}, &error));
        EXPECT_TRUE(error.startsWith("shadow layers: the box is empty or not finite; "));
    }
    EXPECT_FALSE(layers->bind(nullptr));
    EXPECT_FALSE(layers->unbind(nullptr));
    EXPECT_MESSAGES("warning ZelKit: shadow layers: bind() needs a program that is bound",
                    "warning ZelKit: shadow layers: unbind() needs the program of bind()");
    QMatrix4x4 endless;
    endless(0, 0) = INFINITY;
    EXPECT_FALSE(layers->update(
        {}, endless, box, [](const auto &) {}, &error));
    EXPECT_EQ("shadow layers: the view or the projection is not finite", error);
    ShadowLight spot = makeLight(ShadowLight::eSpot);
    spot.halfAngle = 0;
    ShadowLight sun = makeLight(ShadowLight::eDirectional);
    sun.direction = {0, 0, 0};
    layers->setLights({spot, makeLight(ShadowLight::eSpot), sun});
    EXPECT_TRUE(layers->update({}, {}, box, [](const auto &) {}));
    EXPECT_EQ(1, layers->layerCount());
    const QString casts(" has values that are not finite, no direction or no angle; it casts no shadow");
    EXPECT_MESSAGES("warning ZelKit: shadow layers: light 0" + casts,
                    "warning ZelKit: shadow layers: light 2" + casts);

    GLSLMacroProcessor processor;
    EnvironmentLight::setUp(&processor); // finds the file, but does not set up shadows
    ShaderProgram program(nullptr);
    program.setMacroProcessor(&processor);
    program.addShader(GL_FRAGMENT_SHADER, "#version 150\n#include \"KitShadows.glslh\"\nvoid main() {}\n",
                      "");
    EXPECT_FALSE(program.link());
    EXPECT_TRUE(_capture.takeTexts().join("").contains("Call ShadowLayers::setUp(&processor, kind) before"));
}

namespace {

/// A strip of six faces with smooth colours and a lamp.
EnvironmentImage sky(int side)
{
    LightImage image{QSize(6 * side, side), {}};
    for (int i = 0; i < 6 * side * side; ++i) {
        const float x = float(i % (6 * side)) / float(side);
        const float y = float(i / (6 * side)) / float(side);
        image.texels.emplace_back(0.5f + 0.4f * std::sin(3 * x), y, i % 97 == 0 ? 9.0f : 0.25f);
    }
    return *EnvironmentImage::prepared(image);
}

EnvironmentBake::Options smallBake()
{
    EnvironmentBake::Options options;
    options.diffuseSamples = options.reflectionSamples = options.tableSize = 2;
    return options;
}

int halfSteps(float a, float b)
{
    const auto order = [](float value) {
        const qfloat16 half(value);
        qint16 bits = 0;
        std::memcpy(&bits, &half, sizeof(bits));
        return bits >= 0 ? bits : -(bits & 0x7FFF);
    };
    return std::abs(order(a) - order(b));
}

/// The largest difference of a level of two textures, in steps of half floats.
int difference(Texture &a, int levelOfA, Texture &b, int levelOfB, int side)
{
    int steps = 0;
    for (int face = 0; face < (a.target() == GL_TEXTURE_CUBE_MAP ? 6 : 1); ++face) {
        const Pixels left = Pixels::ofTexture(a.target(), a.textureID(), levelOfA, face);
        const Pixels right = Pixels::ofTexture(b.target(), b.textureID(), levelOfB, face);
        EXPECT_EQ(side, left.width());
        EXPECT_EQ(side, right.width());
        for (int i = 0; i < 4 * side * side; ++i) {
            const QVector4D one = left.at(i / 4 % side, i / 4 / side);
            const QVector4D other = right.at(i / 4 % side, i / 4 / side);
            steps = std::max(steps, halfSteps(one[i % 4], other[i % 4]));
        }
    }
    return steps;
}

void expectThatDamageIsSeen(const QString &path)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    const QByteArray bytes = file.readAll();
    for (const int damage : {0, 8, 12, 16, 20, 23, -1}) { // magic, version, sizes, end
        QByteArray damaged = damage < 0 ? bytes.chopped(1) : bytes;
        damaged[std::max(damage, 0)] = char(damaged[std::max(damage, 0)] ^ (damage < 0 ? 0 : 0x60));
        file.resize(0);
        file.seek(0);
        file.write(damaged);
        file.flush();
        QString error;
        EXPECT_EQ(nullptr, EnvironmentLight::load(path, &error)) << damage;
        EXPECT_TRUE(error.endsWith("is not a saved environment light, or damaged; bake and save it again"));
    }
}

} // namespace

TEST_F(KitLightTest, ABakeInSlicesEqualsThatOfTheLibraryAndSurvivesAFile)
{
    const std::unique_ptr<Texture> cube = sky(32).cubeMap();
    EXPECT_EQ(QStringList(), _capture.takeTexts(QtWarningMsg)); // takes how long the conversion took
    EnvironmentBake::Options options;
    options.reflectionSize = 16;
    options.reflectionSamples = 64;
    options.diffuseSize = 8;
    options.diffuseSamples = 200;
    options.tableSize = 8;
    options.readsPerStep = 8000;
    const auto bake = EnvironmentBake::create(*cube, options);
    ASSERT_NE(nullptr, bake);
    EXPECT_EQ(nullptr, bake->take());
    int steps = 0;
    for (float before = -1; bake->step(); before = bake->progress()) {
        EXPECT_GT(bake->progress(), before);
        ++steps;
    }
    EXPECT_GT(steps, 40);
    EXPECT_EQ(1.0f, bake->progress());
    const std::unique_ptr<EnvironmentLight> light = bake->take();
    ASSERT_NE(nullptr, light);
    ASSERT_EQ(5, light->levels());

    const AutoEnabler seamless(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    using Pointer = std::unique_ptr<Texture>;
    const Pointer ggx(CreatePrefilteredCubeEnvMap(cube.get(), 16, 64, SHADING_PHYSICALLY_BASED, RGBA16F));
    const Pointer lambert(
        CreatePrefilteredCubeEnvMap(cube.get(), 16, 200, SHADING_LAMBERTIAN_DIFFUSE, RGBA16F));
    const Pointer table(CreatePreintegratedBRDFTable(8, 8, 5, SHADING_PHYSICALLY_BASED, RGBA16F));
    for (int level = 0; level < 5; ++level) {
        EXPECT_LE(difference(*light->reflections(), level, *ggx, level, 16 >> level), 1) << level;
    }
    EXPECT_LE(difference(*light->diffuse(), 0, *lambert, 1, 8),
              1); // level 0 of the library reads unfiltered texels
    EXPECT_LE(difference(*light->table(), 0, *table, 0, 8), 1);

    const QTemporaryDir folder;
    const QString path = folder.filePath("sky.light");
    ASSERT_TRUE(light->save(path));
    const std::unique_ptr<EnvironmentLight> loaded = EnvironmentLight::load(path);
    ASSERT_NE(nullptr, loaded);
    for (int level = 0; level < 5; ++level) {
        EXPECT_EQ(0, difference(*light->reflections(), level, *loaded->reflections(), level, 16 >> level));
    }
    EXPECT_EQ(0, difference(*light->diffuse(), 0, *loaded->diffuse(), 0, 8));
    EXPECT_EQ(0, difference(*light->table(), 0, *loaded->table(), 0, 8));

    expectThatDamageIsSeen(path);
}

TEST_F(KitLightTest, ObjectsOfLightRefuseOtherContexts)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("sky.light");
    const EnvironmentBake::Options small = smallBake();
    std::unique_ptr<Texture> cube = sky(4).cubeMap();
    EXPECT_EQ(QStringList(), _capture.takeTexts(QtWarningMsg));
    const auto light = EnvironmentBake::bake(sky(4), small);
    ASSERT_TRUE(light != nullptr && light->save(path));
    const auto bake = EnvironmentBake::create(*cube, small);
    auto shadows = ShadowLayers::create({});
    const auto program = makeProgram(kAllOver);
    EXPECT_EQ(QStringList(), _capture.takeTexts(QtWarningMsg));
    const QString isOther("another context is current, or none; make the one current in which the object ");
    const QString isNone("no OpenGL context is current, or initializeGLFunctions()");
    const struct
    {
        std::function<bool(QString *)> call;
        QString without, other; ///< parts of the messages: without a context, and with another one
    } rows[] = {{[&](auto *e) {
                     return shadows->update(
                         {}, {}, {{0, 0, 0}, {1, 1, 1}}, [](const auto &) {}, e);
                 },
                 isNone, isOther},
                {[&](auto *e) { return shadows->drawDebug(e); }, isNone, isOther},
                {[&](auto *) { return shadows->bind(program.get()); }, isOther, isOther},
                {[&](auto *) { return shadows->unbind(program.get()); }, isOther, isOther},
                {[&](auto *e) { return light->save(path, e); }, isNone, isOther},
                {[&](auto *) { return light->bind(program.get()); }, isOther, isOther},
                {[&](auto *) { return light->unbind(), false; }, isOther, isOther},
                {[&](auto *) { return bake->step(); }, isNone, isOther},
                {[&](auto *e) { return EnvironmentBake::create(*cube, small, e) != nullptr; }, isNone,
                 "must be a cube map"},
                {[&](auto *e) { return EnvironmentImage::fromTexture(*cube, false, {}, e).has_value(); },
                 isNone, "of the current context"},
                {[&](auto *e) { return EnvironmentLight::load(path, e) != nullptr; }, isNone, {}},
                {[&](auto *e) { return sky(4).cubeMap(e) != nullptr; }, isNone, {}}};
    HeadlessContext::Options plain;
    plain.startsLibrary = false;
    const auto other = HeadlessContext::create(plain);
    ASSERT_NE(nullptr, other);
    for (const auto &row : rows) {
        SCOPED_TRACE(int(&row - rows));
        other->makeCurrent();
        for (const QString &expected : {row.other, row.without}) {
            QString error;
            EXPECT_FALSE(!expected.isNull() && row.call(&error));
            error += _capture.takeTexts().join("");
            EXPECT_TRUE(error.contains(expected)) << error.toStdString();
            other->doneCurrent(); // for the second round
        }
    }
    makeCurrent();
    cube.reset();
    EXPECT_FALSE(bake->step());
    EXPECT_MESSAGES(
        "warning ZelKit: environment bake: the source was deleted; keep it until the bake is done");
    ShadowLayers::setUp(nullptr, ShadowLayers::ePlain);
    EnvironmentLight::setUp(nullptr);
    EXPECT_MESSAGES("warning ZelKit: shadow layers: setUp() needs a text processor",
                    "warning ZelKit: environment light: setUp() needs a text processor");
}

TEST_F(KitLightOwnProcessTest, ObjectsOfLightOutliveTheirContext)
{
    const auto other = HeadlessContext::create();
    auto context = HeadlessContext::create();
    ASSERT_NE(nullptr, context);
    const auto program = makeProgram(kAllOver);
    auto shadows = ShadowLayers::create({});
    const auto cube = sky(4).cubeMap();
    auto light = EnvironmentBake::bake(sky(4), smallBake());
    auto bake = EnvironmentBake::create(*cube, smallBake());
    ASSERT_TRUE(shadows && light && bake);
    _capture.takeTexts();
    context.reset();
    EXPECT_FALSE(shadows->bind(program.get()));
    EXPECT_FALSE(shadows->drawDebug());
    EXPECT_FALSE(light->bind(program.get()));
    EXPECT_FALSE(light->save("sky.light"));
    EXPECT_FALSE(bake->step());
    EXPECT_EQ(5, _capture.takeTexts(QtWarningMsg).filter("current").size());

    other->makeCurrent(); // has other textures of the same names
    const Tap<&glDeleteTextures> deletions;
    shadows.reset();
    light.reset();
    bake.reset();
    EXPECT_EQ(0u, deletions.count());
    EXPECT_LE(3, _capture.takeTexts(QtWarningMsg).filter("current").size());
}

TEST_F(KitLightTest, EnvironmentsNameWhatTheyCannotUse)
{
    QString error;
    const auto errorOf = [&error](int width, int height, int texels,
                                  std::optional<EnvironmentImage::Layout> layout) {
        LightImage image{QSize(width, height), std::vector<QVector3D>(size_t(texels))};
        EXPECT_FALSE(EnvironmentImage::prepared(image, layout, &error).has_value());
        return error;
    };
    EXPECT_EQ("an environment image of 8x4 texels cannot have 31 of them", errorOf(8, 4, 31, {}));
    EXPECT_EQ(
        "an environment image of 9x4 texels is neither 2:1 (latlong), 4:3 or 3:4 (cross) nor 6:1 (strip); "
        "pass eLatLong to stretch it",
        errorOf(9, 4, 36, {}));
    EXPECT_EQ("an environment image of 8x4 texels is not a strip: it is not made of square cells",
              errorOf(8, 4, 32, EnvironmentImage::eStrip));
    EXPECT_EQ("an environment image of 6x3 texels is too small", errorOf(6, 3, 18, {}));
    EnvironmentImage empty;
    for (const EnvironmentImage::Layout layout : {EnvironmentImage::eLatLong, EnvironmentImage::eStrip}) {
        empty.layout = layout;
        EXPECT_EQ(nullptr, empty.cubeMap(&error));
        EXPECT_FALSE(empty.takeStrongestLight().has_value());
        EXPECT_EQ(QVector3D(), empty.direction(0, 0));
        EXPECT_EQ(0.0f, empty.solidAngle(0, 0));
        EXPECT_FALSE(EnvironmentImage::layoutOf({}).has_value());
    }
    EXPECT_TRUE(halved({{4, 4}, {}}).texels.empty());
    const QString unprepared("an environment image must come from prepared() or fromTexture()");
    EXPECT_EQ(unprepared, error);
    EXPECT_MESSAGES("warning ZelKit: " + unprepared, "warning ZelKit: " + unprepared,
                    "warning ZelKit: an environment image of 4x4 texels cannot have 0 of them");
    const LightImage odd = halved({{5, 3}, std::vector<QVector3D>(15)});
    EXPECT_EQ(QSize(2, 1), odd.size);

    Texture flat(GL_TEXTURE_2D, GL_RGBA8UI, 8, 4, 1, nullptr);
    flat.bind();
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8UI, 8, 4, 0, GL_RGBA_INTEGER, GL_UNSIGNED_BYTE, nullptr);
    flat.unbind();
    EXPECT_FALSE(EnvironmentImage::fromTexture(flat, false, {}, &error).has_value());
    EXPECT_TRUE(error.startsWith("an environment image must be a 2D texture or a cube map"));
    Texture bare(GL_TEXTURE_CUBE_MAP, GL_RGBA16F, 8, 8, 1, nullptr);
    for (Texture *source : {&flat, &bare}) {
        EXPECT_EQ(nullptr, EnvironmentBake::create(*source, {}, &error));
        EXPECT_TRUE(error.startsWith("environment bake: the source must be a cube map with a mip chain"));
    }
    EnvironmentBake::Options options;
    options.diffuseSamples = 1;
    EXPECT_EQ(nullptr, EnvironmentBake::create(flat, options, &error));
    EXPECT_EQ("environment bake: 'diffuseSamples' must be from 2 to 4096, not 1", error);
    EXPECT_EQ(nullptr, EnvironmentLight::load("/no/such.light", &error));
    EXPECT_TRUE(error.startsWith("'/no/such.light' cannot be opened: "));
}

namespace {

constexpr int kPicture = 32;

/// The picture of a chain: light of this strength above a slanting edge, and none below.
QImage finished(const PostChain::Options &options, float light, float exposure = 0)
{
    const auto program = makeProgram(kAllOver, R"(#version 150
uniform float u_Light;
out vec4 color;
void main() { color = vec4(vec3(gl_FragCoord.y > 9.0 + 0.3 * gl_FragCoord.x ? u_Light : 0.0), 1.0); }
)");
    const auto chain = PostChain::create(options);
    const auto target = RenderTarget::create({kPicture, kPicture}, GL_RGBA8, RenderTarget::eNoDepth);
    EXPECT_TRUE(chain->resize({kPicture, kPicture}));
    chain->setExposure(exposure);
    glBindFramebuffer(GL_FRAMEBUFFER, target->framebuffer()->getFBO());
    EXPECT_TRUE(chain->begin());
    {
        const AutoBinder bound(program.get());
        program->setUniform("u_Light", QVariant(light));
        const auto quad = OpenGLDeviceContext::current()->fullscreenQuad();
        quad->bind();
        quad->VAO()->enableShaderProgramArrays(program.get());
        quad->draw(program.get());
        quad->unbind();
    }
    EXPECT_TRUE(chain->end());
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    return target->image();
}

/// The openness of a pixel of a flat wall, or in the middle of a groove of right angles.
float opennessOf(AmbientOcclusion &occlusion, bool isGroove)
{
    const auto program = makeProgram(kAllOver, R"(#version 150
uniform bool u_IsGroove;
out vec4 color;
void main()
{
    float x = (gl_FragCoord.x - 16.0) / 16.0;
    color = u_IsGroove ? vec4(normalize(vec3(-sign(x), 0.0, 1.0)), 3.0 - abs(x)) : vec4(0.0, 0.0, 1.0, 3.0);
})");
    EXPECT_TRUE(occlusion.beginGeometry());
    {
        const AutoBinder bound(program.get());
        program->setUniform("u_IsGroove", QVariant(int(isGroove)));
        const auto quad = OpenGLDeviceContext::current()->fullscreenQuad();
        quad->bind();
        quad->VAO()->enableShaderProgramArrays(program.get());
        quad->draw(program.get());
        quad->unbind();
    }
    QMatrix4x4 projection;
    projection.ortho(-1, 1, -1, 1, 1, 10);
    EXPECT_TRUE(occlusion.endGeometry(projection, 0.4f));
    return Pixels::ofTexture(GL_TEXTURE_2D, occlusion.texture()->textureID()).at(16, 16).x();
}

} // namespace

TEST_F(KitLightTest, AChainFinishesPictures)
{
    const struct
    {
        PostChain::Options options;
        float light, exposure;
        int green; ///< above the edge
        bool isSmooth;
    } rows[] = {{{}, 0.5f, 0, 188, false},
                {{}, 9.0f, 0, 255, false},
                {{4, PostChain::eNoFilter, false}, 0.5f, 0, 188, false}, // the edge is inside a surface
                {{1, PostChain::eFxaa, false}, 0.5f, 0, 188, true},
                {{1, PostChain::eNoFilter, true}, 0.5f, 0, 181, false}, // less 0.04
                {{1, PostChain::eSmaa, true}, 4.0f, -3, 181, true},
                {{1, PostChain::eNoFilter, true}, 4.0f, 0, 253, false}};
    for (const auto &row : rows) {
        SCOPED_TRACE(int(&row - rows));
        const QImage image = finished(row.options, row.light, row.exposure);
        EXPECT_NEAR(row.green, qGreen(image.pixel(16, 2)), 1);
        EXPECT_EQ(0, qGreen(image.pixel(16, 30)));
        int between = 0;
        for (int i = 0; i < kPicture * kPicture; ++i) {
            const int green = qGreen(image.pixel(i % kPicture, i / kPicture));
            between += green > 4 && green < row.green - 4;
        }
        EXPECT_EQ(row.isSmooth, between > 10) << between;
    }
}

TEST_F(KitLightTest, GroovesAreDarkerThanWalls)
{
    const auto occlusion = AmbientOcclusion::create();
    ASSERT_TRUE(occlusion->resize({32, 32}));
    const auto target = RenderTarget::create({8, 8}, GL_RGBA8);
    const AutoBinder bound(target->framebuffer());
    glViewport(1, 2, 3, 4);
    EXPECT_GT(opennessOf(*occlusion, false), 0.98f);
    EXPECT_LT(opennessOf(*occlusion, true), 0.7f);
    GLint framebuffer = 0;
    GLint viewport[4] = {};
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &framebuffer);
    glGetIntegerv(GL_VIEWPORT, viewport);
    EXPECT_EQ(target->framebuffer()->getFBO(), GLuint(framebuffer));
    EXPECT_EQ((std::array<GLint, 4>{1, 2, 3, 4}),
              (std::array<GLint, 4>{viewport[0], viewport[1], viewport[2], viewport[3]}));
}

TEST_F(KitLightTest, ChainsAndOcclusionNameWhatIsMissing)
{
    QString error;
    EXPECT_EQ(nullptr, PostChain::create({0, PostChain::eSmaa, false}, &error));
    EXPECT_EQ("post chain: 'samples' must be from 1 to 64, not 0", error);
    const auto chain = PostChain::create({});
    const auto occlusion = AmbientOcclusion::create();
    EXPECT_FALSE(chain->begin());
    EXPECT_FALSE(chain->end(0));
    EXPECT_FALSE(occlusion->beginGeometry());
    EXPECT_EQ(nullptr, occlusion->texture());
    EXPECT_MESSAGES("warning ZelKit: post chain: call resize() before begin() and end()",
                    "warning ZelKit: post chain: call resize() before begin() and end()",
                    "warning ZelKit: ambient occlusion: call resize() before beginGeometry()");
    EXPECT_FALSE(chain->resize({4, 0}, &error));
    EXPECT_FALSE(occlusion->resize({0, 4}, &error));
    EXPECT_EQ("a render target needs a size of at least 1x1 pixel", error);
    ASSERT_TRUE(chain->resize({4, 4}));
    EXPECT_FALSE(chain->end(0));
    EXPECT_FALSE(occlusion->endGeometry({}, 1));
    EXPECT_MESSAGES("warning ZelKit: post chain: end() needs a begin() before it",
                    "warning ZelKit: ambient occlusion: endGeometry() needs a beginGeometry() before it");
}
