// Light in pictures: shadows, where they must be and where they must not be; environments, from files to pictures; and the
// edge filters of finished pictures.

#include "ShownModel.h"

#include "light/EnvironmentImage.h"
#include "model/ModelCamera.h"
#include "scene/ModelLoader.h"

#include "../support/FileMaker.h"

#include <OpenEXR/ImfRgbaFile.h>

#include <QtGui/QMatrix4x4>

#include <cmath>

using namespace zelview;

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

const QVector3D kX(1, 0, 0);
const QVector3D kY(0, 1, 0);
const QVector3D kZ(0, 0, 1);

/// The octant of a direction as a colour: red if x is positive, green if y is, blue if z is.
QVector3D labelOf(const QVector3D &direction)
{
    const auto channel = [](float coordinate) { return coordinate > 0.0f ? 0.6f : 0.1f; };
    return {channel(direction.x()), channel(direction.y()), channel(direction.z())};
}

using Painter = std::function<QVector3D(const QVector3D &)>;

/// The left edge is +x, one quarter to the right is +z.
LightImage panorama(int width, const Painter &paint)
{
    LightImage image{QSize(width, width / 2), {}};
    for (int i = 0; i < width * width / 2; ++i) {
        const double around = 2.0 * M_PI * (i % width + 0.5) / width;
        const double down = 2.0 * M_PI * (i / width + 0.5) / width;
        image.texels.push_back(
            paint(QVector3D(float(std::cos(around) * std::sin(down)), float(std::cos(down)),
                            float(std::sin(around) * std::sin(down)))));
    }
    return image;
}

/// An unfolded cube; \a cells: that of each face, in GL's order. Of tall crosses the last one is upside down.
LightImage unfolded(const QSize &cells, const std::array<QPoint, 6> &places)
{
    constexpr int kSide = 16;
    // The centre of each face, and the directions of its columns and rows.
    const QVector3D faces[][3] = {{kX, -kZ, -kY}, {-kX, kZ, -kY}, {kY, kX, kZ},
                                  {-kY, kX, -kZ}, {kZ, kX, -kY},  {-kZ, -kX, -kY}};
    LightImage image{cells * kSide, {}};
    image.texels.resize(size_t(image.size.width() * image.size.height()));
    for (int i = 0; i < 6 * kSide * kSide; ++i) {
        const size_t face = size_t(i / kSide / kSide);
        const QPoint texel(i % kSide, i / kSide % kSide);
        const QPoint place = places[face] * kSide + texel;
        const float sign = face == 5 && cells.height() == 4 ? -1.0f : 1.0f;
        const auto offset = [sign](int at) { return sign * ((float(at) + 0.5f) / (kSide / 2) - 1.0f); };
        image.texels[size_t(place.y() * image.size.width() + place.x())] =
            labelOf(faces[face][0] + offset(texel.x()) * faces[face][1] + offset(texel.y()) * faces[face][2]);
    }
    return image;
}

const LightImage kWideCross = unfolded({4, 3}, {{{2, 1}, {0, 1}, {1, 0}, {1, 2}, {1, 1}, {3, 1}}});
const LightImage kTallCross = unfolded({3, 4}, {{{2, 1}, {0, 1}, {1, 0}, {1, 2}, {1, 1}, {1, 3}}});
const LightImage kStrip = unfolded({6, 1}, {{{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 0}}});

/// The sRGB colour of linear light.
QColor screenColor(const QVector3D &light)
{
    const auto encoded = [](float x) {
        return int(std::lround(255.0 * (x <= 0.0031308f ? 12.92 * x : 1.055 * std::pow(x, 1 / 2.4) - 0.055)));
    };
    return {encoded(light.x()), encoded(light.y()), encoded(light.z())};
}

QImage screenImage(const LightImage &light)
{
    QImage image(light.size, QImage::Format_RGB888);
    for (int i = 0; i < int(light.texels.size()); ++i) {
        image.setPixelColor(i % image.width(), i / image.width(), screenColor(light.texels[size_t(i)]));
    }
    return image;
}

/// A cube map whose rows go up, of the faces of a strip.
QByteArray ktxOf(const LightImage &strip)
{
    const int side = strip.size.height();
    KtxFile file = KtxFile::of(quint32(side), quint32(side), 0, 0x8051, GL_RGB); // GL_RGB8
    file.faces = 6;
    file.keyValues = KtxFile::paddedEntry("KTXorientation", "S=r,T=u");
    file.levels = {{quint32(3 * side * side), QByteArray()}};
    for (int i = 0; i < 6; ++i) {
        const QImage face = screenImage(strip).copy(i * side, 0, side, side).mirrored();
        file.levels[0].data.append(reinterpret_cast<const char *>(face.constBits()), 3 * side * side);
    }
    return file.bytes();
}

class ZelviewEnvironmentTest : public ZelviewTest
{
protected:
    QString writeExr(const char *name, const LightImage &image) const
    {
        std::vector<Imf::Rgba> texels;
        for (const QVector3D &light : image.texels) {
            texels.emplace_back(light.x(), light.y(), light.z(), 1.0f);
        }
        // Files may have a data window that does not start at the origin.
        const Imath::Box2i window({-3, 5}, {image.size.width() - 4, image.size.height() + 4});
        Imf::RgbaOutputFile file(qPrintable(path(name)), window, window, Imf::WRITE_RGBA);
        file.setFrameBuffer(texels.data() + 3 - 5 * image.size.width(), 1, size_t(image.size.width()));
        file.writePixels(image.size.height());
        return path(name);
    }

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

TEST_F(ZelviewEnvironmentTest, EveryLayoutOfEveryFormatPutsItsLightWhereItBelongs)
{
    TestContext::ensureApplication();
    const auto context = makeOffscreenContext(Options());
    ASSERT_TRUE(bool(context));
    const std::pair<QString, std::optional<EnvironmentLayout>> files[] = {
        {writeExr("panorama.exr", panorama(64, labelOf)), {}},
        {writeExr("strip.exr", kStrip), EnvironmentLayout::eStrip},
        {writeExr("tall.exr", kTallCross), {}},
        {write("wide.png", pngOf(screenImage(kWideCross))), {}},
        {write("cube.ktx", ktxOf(kStrip)), {}},
    };
    for (const auto &[file, layout] : files) {
        SCOPED_TRACE(file.toStdString());
        const Expected<EnvironmentImage> environment = loadEnvironmentImage(file, layout);
        ASSERT_TRUE(bool(environment)) << qPrintable(environment.problem().text);
        const QSize size = environment->image.size;
        float sphere = 0.0f;
        for (int i = 0; i < int(environment->image.texels.size()); ++i) {
            const int x = i % size.width();
            const int y = i / size.width();
            sphere += environment->solidAngle(x, y);
            const QVector3D expected = labelOf(environment->direction(x, y));
            ASSERT_LT((environment->at(x, y) - expected).length(), 0.01f) << x << ' ' << y;
        }
        EXPECT_NEAR(sphere, 4.0f * float(M_PI), 0.02f);
    }
}

TEST_F(ZelviewEnvironmentTest, TheStrongestLightIsRemovedWithAllItsIrradiance)
{
    const QVector3D toSun = QVector3D(0.3f, 0.6f, -0.7f).normalized();
    const QVector3D toLamp = QVector3D(-1.0f, 0.2f, 0.1f).normalized();
    const QVector3D sky(0.4f, 0.5f, 0.6f);
    EnvironmentImage environment{
        EnvironmentLayout::eLatLong, panorama(128, [&](const QVector3D &direction) {
            return sky
                   + (QVector3D::dotProduct(direction, toSun) > 0.998f) * QVector3D(900.0f, 700.0f, 500.0f)
                   + (QVector3D::dotProduct(direction, toLamp) > 0.99f) * QVector3D(20.0f, 20.0f, 20.0f);
        })};
    const auto total = [&environment] {
        QVector3D sum;
        for (int i = 0; i < 64 * 128; ++i) {
            sum += environment.at(i % 128, i / 128) * environment.solidAngle(i % 128, i / 128);
        }
        return sum;
    };
    const QVector3D before = total();
    const std::optional<DistantLight> sun = environment.takeStrongestLight();
    ASSERT_TRUE(sun.has_value());
    EXPECT_GT(QVector3D::dotProduct(sun->direction, toSun), 0.999f);
    const QVector3D lost = before - total();
    EXPECT_LT((sun->irradiance - lost).length(), 0.002f * lost.length());
    EXPECT_NEAR(sun->irradiance.x(), 900.0f * 2.0f * float(M_PI) * 0.002f, 1.2f);
    EnvironmentImage even{EnvironmentLayout::eLatLong, panorama(64, [&](const QVector3D &) { return sky; })};
    EXPECT_FALSE(even.takeStrongestLight().has_value());
    EXPECT_EQ(even.at(5, 5), sky);
}

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
