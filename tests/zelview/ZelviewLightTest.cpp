// Light in pictures: shadows, where they must be and where they must not be; environments, from files to pictures; and the
// edge filters of finished pictures.

#include "ShownModel.h"

#include "model/ModelCamera.h"
#include "scene/ModelLoader.h"

#include "../support/EnvironmentPictures.h"
#include "../support/FileMaker.h"

#include <QtGui/QMatrix4x4>

#include <cmath>

using namespace zeltools;

namespace {

const QString kDown = R"("translation":[0,4,0],"rotation":[-0.70710678,0,0,0.70710678])";
// Mirrored: z points up and to +x. The columns are (0, 0, 1), (-c, s, 0) and (s, c, 0).
const QString kMirrored = R"("matrix":[0,0,1,0, -0.866,0.5,0,0, 0.5,0.866,0,0, 1.5,4.1,0,1])";
const QString kPoint = R"("type":"point","intensity":40)";
const QString kSpot = R"("type":"spot","intensity":40,"spot":{"innerConeAngle":0.5,"outerConeAngle":0.8})";
const QString kSun = R"("type":"directional","intensity":3)";

class ZelviewShadowTest : public ZelviewTest
{
protected:
    /// Writes a floor of 8 by 8 units with a plate of one unit above it, and one light. The normals are not perpendicular to
    /// the floor, like those of coarse meshes with smooth shading. \a node, \a light: JSON members of the light's node and of
    /// the light. Blended materials cast no shadow.
    QString writeModel(const QString &node, const QString &light, bool doesPlateCast) const
    {
        const QString nodes =
            R"([{"mesh":0,"rotation":[-0.70710678,0,0,0.70710678],"scale":[8,8,8],"translation":[-4,0,4]},
                {"mesh":1,"rotation":[-0.70710678,0,0,0.70710678],"translation":[-0.5,1,0.5]},{%1,"children":[3]},
                {"extensions":{"KHR_lights_punctual":{"light":0}}}])";
        const QString materials = R"([{"doubleSided":true,"pbrMetallicRoughness":{"metallicFactor":0}},
                {"doubleSided":true,"pbrMetallicRoughness":{"metallicFactor":0},"alphaMode":"%1"}])";
        const QString more =
            R"("extensionsUsed":["KHR_lights_punctual"],"extensions":{"KHR_lights_punctual":{"lights":[{%1}]}})";
        return writeSquares(doesPlateCast ? "with.gltf" : "without.gltf", nodes.arg(node).toUtf8(),
                            materials.arg(doesPlateCast ? "OPAQUE" : "BLEND").toUtf8(),
                            more.arg(light).toUtf8(), QVector<QVector3D>(4, {0.6f, 0, 0.8f}));
    }

    ShownModel shown(const QString &light, LightRig rig, ShadowKind kind = ShadowKind::eDepth,
                     bool isStable = false)
    {
        TestContext::ensureApplication();
        Options options;
        options.shadowKind = kind;
        options.areShadowsStable = isStable;
        options.azimuth = 0.0f;
        options.lights = rig;
        options.file = writeModel(kDown, light, true);
        return {options, QSize(160, 120)};
    }
};

TEST_F(ZelviewShadowTest, TheFloorIsDarkBelowThePlateAndUntouchedElsewhere)
{
    const struct
    {
        const QString &node;
        const QString &light;
        float shadowed; ///< the x of the middle of the shadow
        QString options;
        QString words; ///< of the report
    } rows[] = {{kDown, kSun, 0.0f, "", "4 layers of "},
                {kDown, kSun, 0.0f, "--csm=1 --variance", "1 layer of 1024x1024, variance"},
                {kDown, kPoint, 0.0f, "--variance", "variance"},
                {kMirrored, kSpot, -0.6f, "", "plain"}};
    Orvane::ZelKit::OrbitCamera camera(0.0f, 30.0f);
    const Expected<Scene> scene = loadModel(writeModel(kDown, kSun, true));
    camera.frame(extentOf(*scene), 4.0f / 3.0f);
    const QMatrix4x4 toView = camera.viewProjection(4.0f / 3.0f);
    for (const auto &row : rows) {
        SCOPED_TRACE((row.node + row.light + row.options).toStdString());
        const auto pictureOf = [&](bool doesPlateCast) {
            return picture(QStringList{writeModel(row.node, row.light, doesPlateCast), "--lights", "file",
                                       "--view", "0,30", "--samples", "1", "--size", "160x120"}
                           + row.options.split(' ', Qt::SkipEmptyParts));
        };
        const auto brightness = [&](const QImage &image, const QVector3D &place) {
            const QVector3D at = toView.map(place);
            return image.pixelColor(int(80.0f + 80.0f * at.x()), int(60.0f - 60.0f * at.y())).green();
        };
        const QImage without = pictureOf(false);
        const QImage with = pictureOf(true);
        EXPECT_TRUE(holds(line("shadows"), row.words));
        const QVector3D shadowed(row.shadowed, 0, 0);
        EXPECT_LT(brightness(with, shadowed), 0.7 * brightness(without, shadowed));
        EXPECT_GT(brightness(without, shadowed), 80);
        for (int i = 0; i < 256; ++i) {
            const QVector3D place(float(i % 16) / 2 - 3.75f, 0, float(i / 16) / 2 - 3.75f);
            const bool isHidden = place.z() < 0.0f && std::abs(place.x()) < 1.0f; // covered by the plate
            if ((place - shadowed).length() > 1.7f && !isHidden) {
                EXPECT_NEAR(brightness(with, place), brightness(without, place), 2) << i;
            }
        }
    }
}

TEST_F(ZelviewShadowTest, OnlyLayersWhoseProjectionChangedAreRendered)
{
    // Cascades follow the view, unless one holds the whole scene; the layer of a spot light does not depend on it.
    for (const auto &[light, isStable, rendered] :
         {std::tuple(kSun, false, QList<int>{4, 0, 4}), {kSpot, false, {1, 0, 0}}, {kSun, true, {1, 0, 0}}}) {
        ShownModel model = shown(light, LightRig::eFile, ShadowKind::eDepth, isStable);
        for (const int count : rendered) {
            model.picture();
            EXPECT_TRUE(model.report("shadows").endsWith(QString("plain; %1 rendered").arg(count)));
            if (count == 0) {
                model->drag(Exhibit::eTurn, {0.1f, 0.0f});
            }
        }
    }
}

TEST_F(ZelviewShadowTest, CastersBetweenALightAndTheViewCastShadows)
{
    for (const ShadowKind kind : {ShadowKind::eDepth, ShadowKind::eVariance}) {
        ShownModel model = shown(kPoint, LightRig::eFile, kind);
        model->drag(Exhibit::eMove, {0.0f, -0.02f});
        model->zoom(16.0f); // only floor is visible, in and before the shadow of the plate
        const QImage floor = model.picture();
        EXPECT_GT(floor.pixelColor(80, 100).green(), floor.pixelColor(80, 112).green() + 50);
    }
}

TEST_F(ZelviewShadowTest, KeysShowAndHideGroundLayersCascadesAndVolumes)
{
    ShownModel model = shown(kSun, LightRig::eSun);
    const QImage plain = model.picture();
    for (const Qt::Key key : {Qt::Key_G, Qt::Key_S, Qt::Key_C, Qt::Key_L}) {
        EXPECT_NE(model.pictureAfter(key), plain) << key;
        EXPECT_EQ(model.pictureAfter(key), plain) << key;
    }
}

class ZelviewEnvironmentTest : public ZelviewTest
{
protected:
    /// A picture from a run that prints only the progress of the bake on stderr.
    QImage bakedPicture(const QStringList &arguments)
    {
        run(arguments + QStringList{"--samples", "1", "--offscreen", path("baked.png")});
        EXPECT_EQ(_last.code, 0);
        EXPECT_EQ(_last.errors.count("zelview: environment: "), 4) << qPrintable(_last.errors);
        EXPECT_EQ(_last.errors.count('\n'), 4);
        return QImage(path("baked.png"));
    }
};

TEST_F(ZelviewEnvironmentTest, AMirrorAndTheBackgroundShowEachOctantInItsDirection)
{
    const QString mirror =
        writeSquares("mirror.gltf", R"([{"mesh":0}])", R"([{"pbrMetallicRoughness":{"roughnessFactor":0}}])");
    const QString cross = write("cross.png", pngOf(screenImage(kWideCross)));
    const QStringList arguments =
        QStringList{mirror, "--env", cross}
        + QString("--view 0,0 --size 80x80 --env-rotation 90 --exposure -1").split(' ');
    const QImage image = bakedPicture(arguments);
    for (int eighth = 0; eighth < 8; ++eighth) {
        const QVector3D direction(eighth & 1 ? 1 : -1, eighth & 2 ? 1 : -1, eighth & 4 ? 1 : -1);
        const float reach = direction.z() > 0.0f ? 20.0f : 38.0f; // within the mirror, or beside it
        const QColor shown =
            image.pixelColor(int(40.0f + reach * direction.x()), int(40.0f - reach * direction.y()));
        const QVector3D turned(-direction.z(), direction.y(), direction.x()); // by -90 degrees about y
        const QColor expected = screenColor(labelOf(turned) * 0.5f);
        for (const auto channel : {&QColor::red, &QColor::green, &QColor::blue}) {
            EXPECT_NEAR((shown.*channel)(), (expected.*channel)(), 6) << eighth;
        }
    }
    EXPECT_GT(difference(image, bakedPicture(arguments + QStringList{"--env-blur", "1"})), 20);
}

TEST_F(ZelviewEnvironmentTest, WhitePillowsVanishInEvenLight)
{
    // Squares whose normals point away from each other, in part away from the eye.
    QStringList nodes, materials;
    for (const auto &[metalness, roughness] : {std::pair(0.0, 0.0), {0.0, 1.0}, {1.0, 0.3}, {1.0, 1.0}}) {
        nodes += QString(R"({"mesh":%1,"translation":[%1,0,0]})").arg(nodes.size());
        materials += QString(R"({"pbrMetallicRoughness":{"metallicFactor":%1,"roughnessFactor":%2}})")
                         .arg(metalness)
                         .arg(roughness);
    }
    const QString pillows = writeSquares(
        "pillows.gltf", "[" + nodes.join(',').toUtf8() + "]", "[" + materials.join(',').toUtf8() + "]",
        R"("extensionsUsed":[])",
        {{-0.7f, -0.7f, 0.14f}, {0.7f, -0.7f, 0.14f}, {0.7f, 0.7f, 0.14f}, {-0.7f, 0.7f, 0.14f}});
    HdrFile even(32, 16);
    even.scanlines = HdrFile::flat(HdrFile::Row(32, HdrFile::Texel{128, 128, 128, 128})).repeated(16); // 0.5
    const QImage image = bakedPicture(
        {pillows, "--view", "40,30", "--size", "160x120", "--env", write("even.hdr", even.bytes())});
    QImage expected(image.size(), QImage::Format_RGB32);
    expected.fill(screenColor({0.5f, 0.5f, 0.5f}));
    EXPECT_LE(difference(image, expected), 3);
}

TEST_F(ZelviewEnvironmentTest, EdgeFiltersApproachManySamples)
{
    const QString wall = writeWall("wall.obj", 4, 3);
    const auto pictureOf = [&](const QString &option, const QString &value) {
        return picture({wall, "--view", "27,14", "--size", "120x90", "--lights", "none", option, value});
    };
    const QImage reference = pictureOf("--samples", "8");
    const auto error = [&](const QImage &image) {
        double sum = 0.0;
        for (int i = 0; i < image.sizeInBytes(); ++i) {
            sum += std::pow(image.constBits()[i] - reference.constBits()[i], 2);
        }
        return sum;
    };
    const double jagged = error(pictureOf("--samples", "1"));
    EXPECT_LT(error(pictureOf("--aa", "fxaa")), 0.75 * jagged);
    EXPECT_TRUE(holds(_last.output, ", 1 sample, fxaa\n"));
    EXPECT_LT(error(pictureOf("--aa", "smaa")), 0.4 * jagged);
}

} // namespace
