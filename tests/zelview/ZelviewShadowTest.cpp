// Shadows in pictures of a box above a floor: where they must be and where not.

#include "ZelviewRun.h"

#include "Exhibit.h"
#include "Graphics.h"
#include "ModelLoader.h"
#include "Options.h"
#include "OrbitCamera.h"
#include "Programs.h"
#include "RenderTarget.h"

#include <ZelGL/ZelGL.h>

#include <QtGui/QGuiApplication>

#include <cmath>

using namespace zelview;

namespace {

/// A floor of 8 by 8 units, and one unit above it a box of one unit, that a light shines on from above.
class BoxAboveFloor
{
public:
    /// The path of a model. \a light: what its node says, and what the light itself.
    QString write(const QString &node, const QString &light, bool doesBoxCast) const
    {
        QByteArray bytes;
        const auto add = [&](const QVector3D &point) {
            const float values[] = {point.x(), point.y(), point.z()};
            bytes.append(reinterpret_cast<const char *>(values), sizeof(values));
        };
        const auto addQuad = [&](const QVector3D &corner, const QVector3D &u, const QVector3D &v) {
            for (const QVector3D &offset : {QVector3D(), u, u + v, QVector3D(), u + v, v}) {
                add(corner + offset);
            }
        };
        addQuad({-4, 0, -4}, {8, 0, 0}, {0, 0, 8});
        const QVector3D x(1, 0, 0);
        const QVector3D y(0, 1, 0);
        const QVector3D z(0, 0, 1);
        for (const QVector3D &corner : {QVector3D(-0.5f, 1, -0.5f), QVector3D(0.5f, 2, 0.5f)}) {
            const float sign = corner.x() < 0 ? 1.0f : -1.0f;
            addQuad(corner, sign * x, sign * y);
            addQuad(corner, sign * y, sign * z);
            addQuad(corner, sign * z, sign * x);
        }
        const QString text =
            QStringLiteral(R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0,1]}],
            "extensionsUsed":["KHR_lights_punctual"],
            "extensions":{"KHR_lights_punctual":{"lights":[{%1}]}},
            "nodes":[{"mesh":0},{%2,"children":[2]},{"name":"inner","extensions":{"KHR_lights_punctual":{"light":0}}}],
            "materials":[{"doubleSided":true,"pbrMetallicRoughness":{"metallicFactor":0}},
                         {"doubleSided":true,"pbrMetallicRoughness":{"metallicFactor":0},"alphaMode":"%3"}],
            "meshes":[{"primitives":[{"attributes":{"POSITION":0},"material":0},
                                     {"attributes":{"POSITION":1},"material":1}]}],
            "accessors":[{"bufferView":0,"componentType":5126,"count":6,"type":"VEC3","min":[-4,0,-4],"max":[4,0,4]},
                         {"bufferView":0,"byteOffset":72,"componentType":5126,"count":36,"type":"VEC3",
                          "min":[-0.5,1,-0.5],"max":[0.5,2,0.5]}],
            "bufferViews":[{"buffer":0,"byteLength":%4}],
            "buffers":[{"byteLength":%4,"uri":"data:application/octet-stream;base64,%5"}]})")
                .arg(light, node, doesBoxCast ? QStringLiteral("OPAQUE") : QStringLiteral("BLEND"))
                .arg(bytes.size())
                .arg(QString::fromLatin1(bytes.toBase64()));
        return _files.write(QStringLiteral("box%1.gltf").arg(_count++), text.toUtf8());
    }

private:
    ModelFiles _files;
    mutable int _count = 0;
};

const QString kDown = QStringLiteral(R"("translation":[0,4,0],"rotation":[-0.70710678,0,0,0.70710678])");
const QString kPoint = QStringLiteral(R"("type":"point","intensity":40)");
const QString kSpot =
    QStringLiteral(R"("type":"spot","intensity":40,"spot":{"innerConeAngle":0.5,"outerConeAngle":0.8})");
const QString kSun = QStringLiteral(R"("type":"directional","intensity":3)");

class ZelviewShadowTest : public ZelviewPictureTest
{
protected:
    static constexpr int kWidth = 320;
    static constexpr int kHeight = 240;
    static constexpr float kElevation = 30.0f;

    QImage pictureOf(const QString &file, const QStringList &more)
    {
        return picture(QStringList{file, "--lights", "file", "--view",
                                   QStringLiteral("0,%1").arg(double(kElevation)), "--samples", "1", "--size",
                                   QStringLiteral("%1x%2").arg(kWidth).arg(kHeight)}
                       + more);
    }

    /// Whether the box darkens the floor there and nowhere else, whatever the light does by itself.
    void expectShadow(const QString &node, const QString &light, const QVector3D &shadowed,
                      const QStringList &more = {})
    {
        const QString file = _box.write(node, light, true);
        const QImage with = pictureOf(file, more);
        const QImage without = pictureOf(_box.write(node, light, false), more); // what is blended casts none

        constexpr float kAspect = float(kWidth) / kHeight;
        OrbitCamera camera(0.0f, kElevation);
        camera.frame(*loadModel(file), kAspect);
        const QMatrix4x4 toClip = camera.at(kAspect).viewProjection();
        const auto brightness = [&](const QImage &image, const QVector3D &place) {
            const QVector3D at = toClip.map(place);
            return image
                .pixelColor(int((0.5f + 0.5f * at.x()) * kWidth), int((0.5f - 0.5f * at.y()) * kHeight))
                .green();
        };
        EXPECT_LT(brightness(with, shadowed), 0.7 * brightness(without, shadowed));
        EXPECT_GT(brightness(without, shadowed), 80);
        int lit = 0;
        for (float x = -3.75f; x < 4.0f; x += 0.5f) {
            for (float z = -3.75f; z < 4.0f; z += 0.5f) {
                const QVector3D place(x, 0, z);
                const bool isBehindBox = z < 0.0f && std::abs(x) < 1.0f;
                if ((place - shadowed).length() > 1.7f && !isBehindBox) {
                    ++lit;
                    EXPECT_NEAR(brightness(with, place), brightness(without, place), 2) << x << ' ' << z;
                }
            }
        }
        EXPECT_GT(lit, 100);
    }

    BoxAboveFloor _box;
};

struct Row
{
    const char *name;
    const QString &light;
    QStringList arguments;
};

void PrintTo(const Row &row, std::ostream *out)
{
    *out << row.name;
}

class ZelviewShadowKindTest : public ZelviewShadowTest, public testing::WithParamInterface<Row>
{
};

TEST_P(ZelviewShadowKindTest, TheFloorIsDarkBelowTheBoxAndUntouchedElsewhere)
{
    expectShadow(kDown, GetParam().light, {0, 0, 0}, GetParam().arguments);
}

INSTANTIATE_TEST_SUITE_P(Lights, ZelviewShadowKindTest,
                         testing::Values(Row{"Sun", kSun, {"--csm", "1"}}, Row{"SunWithCascades", kSun, {}},
                                         Row{"SunWithCascadesVariance", kSun, {"--variance"}},
                                         Row{"Spot", kSpot, {}}, Row{"SpotVariance", kSpot, {"--variance"}},
                                         Row{"Point", kPoint, {}},
                                         Row{"PointVariance", kPoint, {"--variance"}}),
                         [](const testing::TestParamInfo<Row> &row) { return row.param.name; });

TEST_F(ZelviewShadowTest, AMirroredNodeMirrorsTheWayOfItsLight)
{
    // -z goes down and to +x, in a frame of x = (0, 0, 1), y = (c, s, 0), z = (-s, c, 0); the second has all x negated.
    const char *kMatrices[] = {"0,0,1,0, 0.866,0.5,0,0, -0.5,0.866,0,0, -1.5,4.1,0,1",
                               "0,0,1,0, -0.866,0.5,0,0, 0.5,0.866,0,0, 1.5,4.1,0,1"};
    for (const QString &light : {kSun, kSpot}) {
        expectShadow(QStringLiteral("\"matrix\":[%1]").arg(kMatrices[0]), light, {0.866f, 0, 0});
        expectShadow(QStringLiteral("\"matrix\":[%1]").arg(kMatrices[1]), light, {-0.866f, 0, 0});
    }
}

/// An exhibit in a context of its own.
class ZelviewShadowFrameTest : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        static char name[] = "test";
        static char *arguments[] = {name, nullptr};
        static int count = 1;
        choosePlatform();
        static QGuiApplication application(count, arguments);
    }

    ZelviewShadowFrameTest()
        : _context(OffscreenContext::create(_options))
    {
        _options.size = QSize(160, 120);
        _options.azimuth = 0.0f;
    }

    ~ZelviewShadowFrameTest() override { _exhibit->takeDown(); }

    void putUp(const QString &light, LightRig rig)
    {
        _options.lights = rig;
        _options.file = _box.write(kDown, light, true);
        auto exhibit = Exhibit::load(_options);
        ASSERT_TRUE(bool(exhibit) && bool(_context));
        _exhibit = std::move(*exhibit);
        ASSERT_FALSE(_exhibit->putUp(_programs, _options).has_value());
        _exhibit->frame(_options.size);
    }

    /// What the next frame says of shadows.
    QString report()
    {
        EXPECT_FALSE(_exhibit->prepareFrame(_options.size).has_value());
        return _exhibit->describeFrame().filter(QStringLiteral("shadows ")).join(QString());
    }

    QImage nextFrame()
    {
        EXPECT_FALSE(_exhibit->prepareFrame(_options.size).has_value());
        auto target = RenderTarget::create(_options.size, GL_RGBA8, 0, RenderTarget::eDepth);
        const Orvane::Zel::AutoBinder bound((*target)->framebuffer());
        glViewport(0, 0, _options.size.width(), _options.size.height());
        glClear(GL_DEPTH_BUFFER_BIT);
        _exhibit->draw(_options.size);
        QImage image(_options.size, QImage::Format_RGBX8888);
        glReadPixels(0, 0, image.width(), image.height(), GL_RGBA, GL_UNSIGNED_BYTE, image.bits());
        return image;
    }

    BoxAboveFloor _box;
    Options _options;
    Expected<std::unique_ptr<OffscreenContext>> _context;
    Programs _programs;
    std::unique_ptr<Exhibit> _exhibit;
};

TEST_F(ZelviewShadowFrameTest, AStillViewRendersNoLayerAndAMovedOneAllCascades)
{
    putUp(kSun, LightRig::eFile);
    EXPECT_EQ(report(), QStringLiteral("shadows   1 light, 4 layers of 2048x2048, plain; 4 rendered"));
    EXPECT_TRUE(report().endsWith(QStringLiteral("; 0 rendered")));
    _exhibit->drag(Exhibit::eTurn, {0.1f, 0.0f});
    EXPECT_TRUE(report().endsWith(QStringLiteral("; 4 rendered")));
}

TEST_F(ZelviewShadowFrameTest, ASpotLightIsRenderedOnceWhereverItIsSeenFrom)
{
    putUp(kSpot, LightRig::eFile);
    EXPECT_EQ(report(), QStringLiteral("shadows   1 light, 1 layer of 2048x2048, plain; 1 rendered"));
    _exhibit->drag(Exhibit::eTurn, {0.1f, 0.0f});
    EXPECT_TRUE(report().endsWith(QStringLiteral("; 0 rendered")));
}

TEST_F(ZelviewShadowFrameTest, WhatStandsBetweenALightAndTheViewCastsItsShadow)
{
    putUp(kPoint, LightRig::eFile);
    _exhibit->drag(Exhibit::eMove, {0.0f, -0.02f});
    _exhibit->zoom(27);               // nothing but floor, in the shadow of the box's upper half
    const QImage floor = nextFrame(); // the first row is the lowest
    EXPECT_GT(floor.pixelColor(80, 3).green(), 200);
    EXPECT_LT(floor.pixelColor(80, 34).green(), 150);
}

TEST_F(ZelviewShadowFrameTest, KeysShowGroundLayersCascadesAndVolumesAndTakeThemAway)
{
    putUp(kSun, LightRig::eSun);
    const QImage plain = nextFrame();
    for (const Qt::Key key : {Qt::Key_G, Qt::Key_S, Qt::Key_C, Qt::Key_L}) {
        EXPECT_TRUE(_exhibit->key(key));
        EXPECT_NE(nextFrame(), plain) << key;
        EXPECT_TRUE(_exhibit->key(key));
        EXPECT_EQ(nextFrame(), plain) << key;
    }
}

} // namespace
