// Light in pictures: shadows, where they must be and where they must not be; environments, from files to pictures; and the
// edge filters of finished pictures.

#include "ShownModel.h"

#include "light/DistantLight.h"
#include "light/EnvironmentImage.h"
#include "scene/ModelLoader.h"
#include "scene/OrbitCamera.h"

#include "../support/FileMaker.h"

#include <OpenEXR/ImfRgbaFile.h>

#include <QtGui/QMatrix4x4>

#include <cmath>

using namespace zelview;

namespace {

constexpr int kWidth = 160;
constexpr int kHeight = 120;

const QString kDown = R"("translation":[0,4,0],"rotation":[-0.70710678,0,0,0.70710678])";
// Mirrored: z points up and to +x. The columns are (0, 0, 1), (-c, s, 0) and (s, c, 0).
const QString kMirrored = R"("matrix":[0,0,1,0, -0.866,0.5,0,0, 0.5,0.866,0,0, 1.5,4.1,0,1])";
const QString kPoint = R"("type":"point","intensity":40)";
const QString kSpot = R"("type":"spot","intensity":40,"spot":{"innerConeAngle":0.5,"outerConeAngle":0.8})";
const QString kSun = R"("type":"directional","intensity":3)";

class ZelviewShadowTest : public ZelviewTest
{
protected:
    /// Writes a floor of 8 by 8 units with a plate of one unit above it, and one light. The normals of the floor are not
    /// perpendicular to it, like those of coarse meshes with smooth shading. \a node, \a light: JSON members of the light's
    /// node and of the light.
    QString writeModel(const QString &node, const QString &light, bool doesPlateCast) const
    {
        const QString nodes =
            R"([{"mesh":0},{"mesh":1,"scale":[0.125,1,0.125],"translation":[0,1,0]},{%1,"children":[3]},
                {"extensions":{"KHR_lights_punctual":{"light":0}}}])";
        const QString members =
            R"("extensionsUsed":["KHR_lights_punctual"],"extensions":{"KHR_lights_punctual":{"lights":[{%1}]}},
            "materials":[{"doubleSided":true,"pbrMetallicRoughness":{"metallicFactor":0}},
                         {"doubleSided":true,"pbrMetallicRoughness":{"metallicFactor":0},"alphaMode":"%2"}],
            "meshes":[{"primitives":[{"attributes":{"POSITION":0,"NORMAL":1},"material":0}]},
                      {"primitives":[{"attributes":{"POSITION":0},"material":1}]}],
            "accessors":[{"bufferView":0,"componentType":5126,"count":6,"type":"VEC3","min":[-4,0,-4],"max":[4,0,4]},
                         {"bufferView":1,"componentType":5126,"count":6,"type":"VEC3"}])";
        return writeGltf(doesPlateCast ? "with.gltf" : "without.gltf", nodes.arg(node).toUtf8(),
                         members.arg(light, doesPlateCast ? "OPAQUE" : "BLEND")
                             .toUtf8(), // blended materials cast no shadow
                         {bytesOf<float>({-4, 0, -4, -4, 0, 4, 4, 0, 4, -4, 0, -4, 4, 0, 4, 4, 0, -4}),
                          bytesOf(QVector<QVector3D>(6, QVector3D(0.6f, 0.8f, 0)))});
    }

    ShownModel shown(const QString &light, LightRig rig, ShadowKind kind = ShadowKind::eDepth)
    {
        TestContext::ensureApplication();
        Options options;
        options.shadowKind = kind;
        options.azimuth = 0.0f;
        options.lights = rig;
        options.file = writeModel(kDown, light, true);
        return {options, QSize(kWidth, kHeight)};
    }
};

TEST_F(ZelviewShadowTest, TheFloorIsDarkBelowThePlateAndUntouchedElsewhere)
{
    const struct
    {
        const QString &node;
        const QString &light;
        QVector3D shadowed;
        QList<QPair<QString, QString>> kinds; ///< options, and words of the report
    } rows[] = {{kDown,
                 kSun,
                 {0, 0, 0},
                 {{"", "4 layers of "}, {"--csm=1", "1 layer of "}, {"--variance", "variance"}}},
                {kDown, kSpot, {0, 0, 0}, {{"", "plain"}, {"--variance", "variance"}}},
                {kDown, kPoint, {0, 0, 0}, {{"", "plain"}, {"--variance", "variance"}}},
                {kMirrored, kSun, {-0.6f, 0, 0}, {{"", "plain"}}},
                {kMirrored, kSpot, {-0.6f, 0, 0}, {{"", "plain"}}}};
    for (const auto &row : rows) {
        const QStringList common{"--lights", "file", "--view", "0,30", "--samples", "1", "--size", "160x120"};
        const QImage without = picture(common + QStringList{writeModel(row.node, row.light, false)});
        const QString file = writeModel(row.node, row.light, true);
        constexpr float kAspect = float(kWidth) / kHeight;
        OrbitCamera camera(0.0f, 30.0f);
        camera.frame(*loadModel(file), kAspect);
        const auto brightness = [&](const QImage &image, const QVector3D &place) {
            const QVector3D at = camera.at(kAspect).viewProjection().map(place);
            return image
                .pixelColor(int((0.5f + 0.5f * at.x()) * kWidth), int((0.5f - 0.5f * at.y()) * kHeight))
                .green();
        };
        for (const auto &[option, words] : row.kinds) {
            SCOPED_TRACE((row.node + row.light + option).toStdString());
            const QImage with = picture(common + option.split(' ', Qt::SkipEmptyParts) + QStringList(file));
            EXPECT_TRUE(holds(line("shadows"), words));
            EXPECT_LT(brightness(with, row.shadowed), 0.7 * brightness(without, row.shadowed));
            EXPECT_GT(brightness(without, row.shadowed), 80);
            for (float x = -3.75f; x < 4.0f; x += 0.5f) {
                for (float z = -3.75f; z < 4.0f; z += 0.5f) {
                    const QVector3D place(x, 0, z);
                    const bool isHidden = z < 0.0f && std::abs(x) < 1.0f; // covered by the plate
                    if ((place - row.shadowed).length() > 1.7f && !isHidden) {
                        EXPECT_NEAR(brightness(with, place), brightness(without, place), 2) << x << ' ' << z;
                    }
                }
            }
        }
    }
}

TEST_F(ZelviewShadowTest, OnlyLayersWhoseProjectionChangedAreRendered)
{
    const struct
    {
        const QString &light;
        QString layers;
        int first;
        int afterTurn; ///< cascades follow the view; the layer of a spot light does not depend on it
    } rows[] = {{kSun, "4 layers", 4, 4}, {kSpot, "1 layer", 1, 0}};
    for (const auto &row : rows) {
        ShownModel model = shown(row.light, LightRig::eFile);
        for (const int rendered : {row.first, 0, row.afterTurn}) {
            model.picture();
            EXPECT_EQ(model.report("shadows"),
                      QString("shadows   1 light, %1 of 2048x2048, plain; %2 rendered")
                          .arg(row.layers)
                          .arg(rendered));
            if (rendered == 0) {
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

/// A cell of an unfolded cube: the direction of its centre, and the directions of its columns and rows.
struct Cell
{
    int column;
    int row;
    QVector3D middle;
    QVector3D across;
    QVector3D down;
};

LightImage unfolded(const QSize &cells, const std::vector<Cell> &places)
{
    constexpr int kSide = 16;
    LightImage image{cells * kSide, {}};
    image.texels.resize(size_t(image.size.width() * image.size.height()));
    for (const Cell &cell : places) {
        for (int i = 0; i < kSide * kSide; ++i) {
            const int place =
                (cell.row * kSide + i / kSide) * image.size.width() + cell.column * kSide + i % kSide;
            const auto offset = [](int texel) { return (float(texel) + 0.5f) / (kSide / 2) - 1.0f; };
            image.texels[size_t(place)] =
                labelOf(cell.middle + offset(i % kSide) * cell.across + offset(i / kSide) * cell.down);
        }
    }
    return image;
}

/// Like a paper model: each cell continues where its neighbour ends. \a back: the cell of -z.
LightImage cross(const QSize &cells, const Cell &back)
{
    return unfolded(cells, {back,
                            {1, 1, kZ, kX, -kY},
                            {2, 1, kX, -kZ, -kY},
                            {0, 1, -kX, kZ, -kY},
                            {1, 0, kY, kX, kZ},
                            {1, 2, -kY, kX, -kZ}});
}

const LightImage kWideCross = cross({4, 3}, {3, 1, -kZ, -kX, -kY});
const LightImage kTallCross = cross({3, 4}, {1, 3, -kZ, kX, kY});
const LightImage kStrip = unfolded({6, 1}, {{0, 0, kX, -kZ, -kY},
                                            {1, 0, -kX, kZ, -kY},
                                            {2, 0, kY, kX, kZ},
                                            {3, 0, -kY, kX, -kZ},
                                            {4, 0, kZ, kX, -kY},
                                            {5, 0, -kZ, -kX, -kY}});

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

QByteArray hdrOf(const LightImage &image)
{
    HdrFile file(image.size.width(), image.size.height());
    for (const QVector3D &light : image.texels) {
        const auto byte = [](float value) { return static_cast<unsigned char>(std::lround(value * 256.0f)); };
        file.scanlines += HdrFile::flat({{byte(light.x()), byte(light.y()), byte(light.z()), 128}});
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
    const auto context = OffscreenContext::create(Options());
    ASSERT_TRUE(bool(context));
    const struct
    {
        QString path;
        std::optional<EnvironmentLayout> layout;
    } kFiles[] = {
        {writeExr("panorama.exr", panorama(64, labelOf)), {}},
        {writeExr("strip.exr", kStrip), EnvironmentLayout::eStrip},
        {writeExr("tall.exr", kTallCross), {}},
        {write("wide.png", pngOf(screenImage(kWideCross))), {}},
        {write("panorama.hdr", hdrOf(panorama(64, labelOf))), EnvironmentLayout::eLatLong},
        {write("cube.ktx", ktxOf(kStrip)), {}},
    };
    for (const auto &file : kFiles) {
        SCOPED_TRACE(file.path.toStdString());
        const Expected<EnvironmentImage> environment = loadEnvironmentImage(file.path, file.layout);
        ASSERT_TRUE(bool(environment)) << qPrintable(environment.problem().text);
        float sphere = 0.0f;
        float greatest = 0.0f;
        for (int i = 0; i < int(environment->image.texels.size()); ++i) {
            const int x = i % environment->image.size.width();
            const int y = i / environment->image.size.width();
            greatest =
                std::max(greatest, (environment->at(x, y) - labelOf(environment->direction(x, y))).length());
            sphere += environment->solidAngle(x, y);
        }
        EXPECT_LT(greatest, 0.01f);
        EXPECT_NEAR(sphere, 4.0f * float(M_PI), 0.02f);
    }
}

TEST_F(ZelviewEnvironmentTest, TheStrongestLightIsRemovedWithAllItsIrradiance)
{
    const QVector3D toSun = QVector3D(0.3f, 0.6f, -0.7f).normalized();
    const QVector3D toLamp = QVector3D(-1.0f, 0.2f, 0.1f).normalized();
    const QVector3D sky(0.4f, 0.5f, 0.6f);
    EnvironmentImage environment{
        EnvironmentLayout::eLatLong, panorama(256, [&](const QVector3D &direction) {
            return sky
                   + (QVector3D::dotProduct(direction, toSun) > 0.998f) * QVector3D(900.0f, 700.0f, 500.0f)
                   + (QVector3D::dotProduct(direction, toLamp) > 0.99f) * QVector3D(20.0f, 20.0f, 20.0f);
        })};
    const auto total = [&environment] {
        QVector3D sum;
        for (int i = 0; i < 128 * 256; ++i) {
            sum += environment.at(i % 256, i / 256) * environment.solidAngle(i % 256, i / 256);
        }
        return sum;
    };
    const QVector3D before = total();
    const std::optional<DistantLight> sun = takeStrongestLight(environment);
    ASSERT_TRUE(sun.has_value());
    EXPECT_GT(QVector3D::dotProduct(sun->direction, toSun), 0.9999f);
    const QVector3D lost = before - total();
    EXPECT_LT((sun->irradiance - lost).length(), 0.002f * lost.length());
    EXPECT_NEAR(sun->irradiance.x(), 900.0f * 2.0f * float(M_PI) * 0.002f, 0.6f);

    for (const QVector3D &light : {sky, QVector3D()}) {
        EnvironmentImage even{EnvironmentLayout::eLatLong,
                              panorama(64, [&](const QVector3D &) { return light; })};
        EXPECT_FALSE(takeStrongestLight(even).has_value());
        EXPECT_EQ(even.at(5, 5), light);
    }
}

TEST_F(ZelviewEnvironmentTest, AMirrorAndTheBackgroundShowEachOctantInItsDirection)
{
    const QString mirror =
        writeSquares("mirror.gltf", R"([{"mesh":0}])", R"([{"pbrMetallicRoughness":{"roughnessFactor":0}}])");
    const struct
    {
        QStringList arguments;
        float turn; ///< degrees
        float gain;
    } rows[] = {
        {{writeExr("panorama.exr", panorama(256, labelOf))}, 0.0f, 1.0f},
        {{write("cross.png", pngOf(screenImage(kWideCross))), "--env-rotation", "90", "--exposure", "-1"},
         90.0f,
         0.5f},
    };
    for (const auto &row : rows) {
        const QStringList arguments =
            QStringList{mirror, "--view", "0,0", "--size", "80x80", "--env"} + row.arguments;
        const QImage image = bakedPicture(arguments);
        for (int eighth = 0; eighth < 8; ++eighth) {
            const QVector3D direction(eighth & 1 ? 1 : -1, eighth & 2 ? 1 : -1, eighth & 4 ? 1 : -1);
            const float reach = direction.z() > 0.0f ? 20.0f : 38.0f; // within the mirror, or beside it
            const QColor shown =
                image.pixelColor(int(40.0f + reach * direction.x()), int(40.0f - reach * direction.y()));
            QMatrix4x4 back;
            back.rotate(-row.turn, kY);
            const QColor expected = screenColor(labelOf(back.map(direction)) * row.gain);
            EXPECT_NEAR(shown.red(), expected.red(), 6) << eighth;
            EXPECT_NEAR(shown.green(), expected.green(), 6) << eighth;
            EXPECT_NEAR(shown.blue(), expected.blue(), 6) << eighth;
        }
        EXPECT_GT(difference(image, bakedPicture(arguments + QStringList{"--env-blur", "1"})), 20);
    }
}

TEST_F(ZelviewEnvironmentTest, WhitePillowsVanishInEvenLight)
{
    // Squares whose normals point away from each other, in part away from the eye.
    QStringList nodes, meshes, materials;
    for (const auto &[metalness, roughness] : {std::pair(0.0, 0.0), {0.0, 1.0}, {1.0, 0.3}, {1.0, 1.0}}) {
        const int i = nodes.size();
        nodes += QString(R"({"mesh":%1,"translation":[%1,0,0]})").arg(i);
        meshes +=
            QString(R"({"primitives":[{"attributes":{"POSITION":0,"NORMAL":1},"indices":2,"material":%1}]})")
                .arg(i);
        materials += QString(R"({"pbrMetallicRoughness":{"metallicFactor":%1,"roughnessFactor":%2}})")
                         .arg(metalness)
                         .arg(roughness);
    }
    const QString members = R"("meshes":[%1],"materials":[%2],
            "accessors":[{"bufferView":0,"componentType":5126,"count":4,"type":"VEC3","min":[0,0,0],"max":[1,1,0]},
                         {"bufferView":1,"componentType":5126,"count":4,"type":"VEC3"},
                         {"bufferView":2,"componentType":5123,"count":6,"type":"SCALAR"}])";
    const QString pillows = writeGltf(
        "pillows.gltf", "[" + nodes.join(',').toUtf8() + "]",
        members.arg(meshes.join(','), materials.join(',')).toUtf8(),
        {bytesOf<float>({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0}),
         bytesOf<float>({-0.7f, -0.7f, 0.14f, 0.7f, -0.7f, 0.14f, 0.7f, 0.7f, 0.14f, -0.7f, 0.7f, 0.14f}),
         bytesOf<quint16>({0, 1, 2, 0, 2, 3})});
    const QVector3D grey(0.5f, 0.5f, 0.5f);
    const QString even = writeExr("even.exr", panorama(32, [&](const QVector3D &) { return grey; }));
    const QImage image = bakedPicture({pillows, "--view", "40,30", "--size", "160x120", "--env", even});
    QImage expected(image.size(), QImage::Format_RGB32);
    expected.fill(screenColor(grey));
    EXPECT_LE(difference(image, expected), 3);
}

/// The mean of the squared differences of all channels.
double meanSquareDifference(const QImage &a, const QImage &b)
{
    double sum = 0.0;
    for (int i = 0; i < 3 * a.width() * a.height(); ++i) {
        const double step = double(a.constBits()[i]) - double(b.constBits()[i]);
        sum += step * step;
    }
    return sum / (3.0 * a.width() * a.height());
}

TEST_F(ZelviewEnvironmentTest, EdgeFiltersApproachManySamples)
{
    const QStringList common{
        writeWall("wall.obj", 4, 3), "--view", "27,14", "--size", "160x120", "--lights", "none"};
    const auto pictureOf = [&](const QStringList &more) {
        return picture(common + more).convertToFormat(QImage::Format_RGB888);
    };
    const QImage reference = pictureOf({"--samples", "8"});
    const double jagged = meanSquareDifference(pictureOf({"--samples", "1"}), reference);
    EXPECT_LT(meanSquareDifference(pictureOf({"--aa", "fxaa"}), reference), 0.75 * jagged);
    EXPECT_TRUE(holds(_last.output, ", 1 sample, fxaa\n"));
    EXPECT_LT(meanSquareDifference(pictureOf({"--aa", "smaa"}), reference), 0.4 * jagged);
}

} // namespace
