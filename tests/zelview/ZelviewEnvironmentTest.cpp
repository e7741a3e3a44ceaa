// Environments, from files to pictures, and the edge filters of finished pictures.

#include "ZelviewRun.h"

#include "frame/Graphics.h"
#include "frame/Options.h"
#include "light/DistantLight.h"
#include "light/EnvironmentImage.h"

#include "../support/FileMaker.h"
#include "../support/TestContext.h"

#include <OpenEXR/ImfRgbaFile.h>

#include <gtest/gtest.h>

#include <QtGui/QMatrix4x4>

#include <cmath>

using namespace zelview;

namespace {

/// The octant of a direction as a colour: red if x is positive, green if y is, blue if z is.
QVector3D labelOf(const QVector3D &direction)
{
    const auto channel = [](float coordinate) { return coordinate > 0.0f ? 0.6f : 0.1f; };
    return {channel(direction.x()), channel(direction.y()), channel(direction.z())};
}

using Painter = std::function<QVector3D(const QVector3D &)>;

LightImage panorama(int width, const Painter &paint)
{
    LightImage image{QSize(width, width / 2), {}};
    for (int y = 0; y < width / 2; ++y) {
        for (int x = 0; x < width; ++x) {
            const double around =
                2.0 * M_PI * (x + 0.5) / width; // the left edge is +x, one quarter to the right is +z
            const double down = 2.0 * M_PI * (y + 0.5) / width;
            image.texels.push_back(
                paint(QVector3D(float(std::cos(around) * std::sin(down)), float(std::cos(down)),
                                float(std::sin(around) * std::sin(down)))));
        }
    }
    return image;
}

/// A cell of a cube: the direction of its centre, and the directions of its columns and rows.
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
    LightImage image{cells * kSide,
                     std::vector<QVector3D>(size_t(cells.width() * cells.height() * kSide * kSide))};
    for (const Cell &cell : places) {
        for (int y = 0; y < kSide; ++y) {
            for (int x = 0; x < kSide; ++x) {
                const float s = (float(x) + 0.5f) / (kSide / 2) - 1.0f;
                const float t = (float(y) + 0.5f) / (kSide / 2) - 1.0f;
                const int place = (cell.row * kSide + y) * image.size.width() + cell.column * kSide + x;
                image.texels[size_t(place)] = labelOf(cell.middle + s * cell.across + t * cell.down);
            }
        }
    }
    return image;
}

const QVector3D kX(1, 0, 0);
const QVector3D kY(0, 1, 0);
const QVector3D kZ(0, 0, 1);

/// Like paper models: each cell continues where its neighbour ends.
LightImage wideCross()
{
    return unfolded({4, 3}, {{1, 1, kZ, kX, -kY},
                             {2, 1, kX, -kZ, -kY},
                             {3, 1, -kZ, -kX, -kY},
                             {0, 1, -kX, kZ, -kY},
                             {1, 0, kY, kX, kZ},
                             {1, 2, -kY, kX, -kZ}});
}

LightImage tallCross()
{
    return unfolded({3, 4}, {{1, 1, kZ, kX, -kY},
                             {2, 1, kX, -kZ, -kY},
                             {0, 1, -kX, kZ, -kY},
                             {1, 0, kY, kX, kZ},
                             {1, 2, -kY, kX, -kZ},
                             {1, 3, -kZ, kX, kY}});
}

LightImage strip()
{
    return unfolded({6, 1}, {{0, 0, kX, -kZ, -kY},
                             {1, 0, -kX, kZ, -kY},
                             {2, 0, kY, kX, kZ},
                             {3, 0, -kY, kX, -kZ},
                             {4, 0, kZ, kX, -kY},
                             {5, 0, -kZ, -kX, -kY}});
}

QString writeExr(const ModelFiles &files, const char *name, const LightImage &image)
{
    std::vector<Imf::Rgba> texels;
    for (const QVector3D &light : image.texels) {
        texels.emplace_back(light.x(), light.y(), light.z(), 1.0f);
    }
    const QString path = files.path(QLatin1String(name));
    // Files may have a data window that does not start at the origin.
    const Imath::Box2i window({-3, 5}, {image.size.width() - 4, image.size.height() + 4});
    Imf::RgbaOutputFile file(qPrintable(path), window, window, Imf::WRITE_RGBA);
    file.setFrameBuffer(texels.data() + 3 - 5 * image.size.width(), 1, size_t(image.size.width()));
    file.writePixels(image.size.height());
    return path;
}

/// The sRGB colour of linear light.
QColor screenColor(const QVector3D &light)
{
    const auto encoded = [](float x) {
        return int(std::lround(255.0 * (x <= 0.0031308f ? 12.92 * x : 1.055 * std::pow(x, 1 / 2.4) - 0.055)));
    };
    return {encoded(light.x()), encoded(light.y()), encoded(light.z())};
}

QString writePng(const ModelFiles &files, const char *name, const LightImage &image)
{
    QImage picture(image.size, QImage::Format_RGB32);
    for (int i = 0; i < int(image.texels.size()); ++i) {
        picture.setPixelColor(i % image.size.width(), i / image.size.width(),
                              screenColor(image.texels[size_t(i)]));
    }
    const QString path = files.path(QLatin1String(name));
    EXPECT_TRUE(picture.save(path));
    return path;
}

QString writeHdr(const ModelFiles &files, const char *name, const LightImage &image)
{
    HdrFile file(image.size.width(), image.size.height());
    for (int y = 0; y < image.size.height(); ++y) {
        HdrFile::Row row;
        for (int x = 0; x < image.size.width(); ++x) {
            const QVector3D &light = image.texels[size_t(y * image.size.width() + x)];
            const auto byte = [](float value) {
                return static_cast<unsigned char>(std::lround(value * 256.0f));
            };
            row.append({byte(light.x()), byte(light.y()), byte(light.z()), 128});
        }
        file.scanlines += HdrFile::flat(row);
    }
    return files.write(QLatin1String(name), file.bytes());
}

/// Writes the faces of a strip as a cube map.
QString writeKtx(const ModelFiles &files, const char *name, const LightImage &strip, bool rowsGoUp)
{
    const int side = strip.size.height();
    KtxFile file = KtxFile::of(quint32(side), quint32(side), 0, 0x8051, GL_RGB); // GL_RGB8
    file.faces = 6;
    file.keyValues = KtxFile::paddedEntry("KTXorientation", rowsGoUp ? "S=r,T=u" : "S=r,T=d");
    QByteArray texels;
    for (int i = 0; i < 6 * side * side; ++i) {
        const int column = i / (side * side) * side + i % side;
        const int row = rowsGoUp ? side - 1 - i / side % side : i / side % side;
        const QColor color = screenColor(strip.texels[size_t(row * 6 * side + column)]);
        texels += char(color.red());
        texels += char(color.green());
        texels += char(color.blue());
    }
    file.levels.append({quint32(3 * side * side), texels});
    return files.write(QLatin1String(name), file.bytes());
}

TEST(ZelviewEnvironment, EveryLayoutOfEveryFormatPutsItsLightWhereItBelongs)
{
    TestContext::ensureApplication();
    const auto context = OffscreenContext::create(Options());
    ASSERT_TRUE(bool(context));

    const ModelFiles files;
    const struct
    {
        QString path;
        std::optional<EnvironmentLayout> layout;
    } kFiles[] = {
        {writeExr(files, "panorama.exr", panorama(64, labelOf)), {}},
        {writeExr(files, "wide.exr", wideCross()), {}},
        {writeExr(files, "tall.exr", tallCross()), {}},
        {writeExr(files, "strip.exr", strip()), EnvironmentLayout::eStrip},
        {writeHdr(files, "panorama.hdr", panorama(64, labelOf)), {}},
        {writeHdr(files, "strip.hdr", strip()), {}},
        {writePng(files, "panorama.png", panorama(64, labelOf)), EnvironmentLayout::eLatLong},
        {writePng(files, "tall.png", tallCross()), {}},
        {writeKtx(files, "cube.ktx", strip(), false), {}},
        {writeKtx(files, "up.ktx", strip(), true), {}},
    };
    for (const auto &file : kFiles) {
        SCOPED_TRACE(file.path.toStdString());
        const Expected<EnvironmentImage> environment = loadEnvironmentImage(file.path, file.layout);
        ASSERT_TRUE(bool(environment)) << qPrintable(environment.problem().text);
        float sphere = 0.0f;
        float greatest = 0.0f;
        for (int y = 0; y < environment->image.size.height(); ++y) {
            for (int x = 0; x < environment->image.size.width(); ++x) {
                const QVector3D expected = labelOf(environment->direction(x, y));
                greatest = std::max(greatest, (environment->at(x, y) - expected).length());
                sphere += environment->solidAngle(x, y);
            }
        }
        EXPECT_LT(greatest, 0.01f);
        EXPECT_NEAR(sphere, 4.0f * float(M_PI), 0.02f);
    }
}

TEST(ZelviewEnvironment, TheStrongestLightIsRemovedWithAllItsIrradiance)
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
        for (int y = 0; y < 128; ++y) {
            for (int x = 0; x < 256; ++x) {
                sum += environment.at(x, y) * environment.solidAngle(x, y);
            }
        }
        return sum;
    };
    const QVector3D before = total();
    const std::optional<DistantLight> sun = takeStrongestLight(environment);
    ASSERT_TRUE(sun.has_value());
    EXPECT_GT(QVector3D::dotProduct(sun->direction, toSun), 0.9999f);
    const QVector3D lost = before - total();
    for (int channel = 0; channel < 3; ++channel) {
        EXPECT_NEAR(sun->irradiance[channel], lost[channel], 0.002f * lost[channel]);
    }
    EXPECT_NEAR(sun->irradiance.x(), 900.0f * 2.0f * float(M_PI) * 0.002f, 0.6f);

    for (const QVector3D &light : {sky, QVector3D()}) {
        EnvironmentImage even{EnvironmentLayout::eLatLong,
                              panorama(64, [&](const QVector3D &) { return light; })};
        EXPECT_FALSE(takeStrongestLight(even).has_value());
        EXPECT_EQ(even.at(5, 5), light);
    }
}

struct Finish
{
    double metalness;
    double roughness;
};

/// Writes white balls side by side as a glTF file.
QString writeBalls(const ModelFiles &files, const std::vector<Finish> &finishes, int rows = 48)
{
    const int columns = 2 * rows;
    QVector<float> points;
    QVector<quint32> indices;
    for (int row = 0; row <= rows; ++row) {
        for (int column = 0; column <= columns; ++column) {
            const double down = M_PI * row / rows;
            const double around = 2.0 * M_PI * column / columns;
            points << float(std::sin(down) * std::sin(around)) << float(std::cos(down))
                   << float(std::sin(down) * std::cos(around));
            if (row < rows && column < columns) {
                const auto corner = quint32(row * (columns + 1) + column);
                const quint32 below = corner + columns + 1;
                indices << corner << below << below + 1 << corner << below + 1 << corner + 1;
            }
        }
    }
    QStringList nodes, meshes, materials;
    for (int i = 0; i < int(finishes.size()); ++i) {
        nodes += QString(R"({"mesh":%1,"translation":[%2,0,0]})").arg(i).arg(2.2 * i);
        meshes +=
            QString(R"({"primitives":[{"attributes":{"POSITION":0,"NORMAL":0},"indices":1,"material":%1}]})")
                .arg(i);
        materials += QString(R"({"pbrMetallicRoughness":{"metallicFactor":%1,"roughnessFactor":%2}})")
                         .arg(finishes[size_t(i)].metalness)
                         .arg(finishes[size_t(i)].roughness);
    }
    const QString members = QString(R"("meshes":[%1],"materials":[%2],
            "accessors":[{"bufferView":0,"componentType":5126,"count":%3,"type":"VEC3","min":[-1,-1,-1],"max":[1,1,1]},
                         {"bufferView":1,"componentType":5125,"count":%4,"type":"SCALAR"}])")
                                .arg(meshes.join(','), materials.join(','))
                                .arg(points.size() / 3)
                                .arg(indices.size());
    return files.writeGltf("balls.gltf", "[" + nodes.join(',').toUtf8() + "]", members.toUtf8(),
                           {ModelFiles::bytesOf(points), ModelFiles::bytesOf(indices)});
}

class ZelviewEnvironmentPictureTest : public ZelviewPictureTest
{
protected:
    /// A picture from a run that prints only the progress of the bake on stderr.
    QImage bakedPicture(const QStringList &arguments)
    {
        const QString target = _files.path("baked.png");
        _last = runZelview(arguments + QStringList{"--offscreen", target});
        EXPECT_EQ(_last.code, 0);
        EXPECT_EQ(_last.errorLines().size(), 4);
        for (const QString &line : _last.errorLines()) {
            EXPECT_TRUE(line.startsWith("zelview: environment: ")) << qPrintable(line);
        }
        return QImage(target);
    }

    /// The colour of the ball, seen from the front, where it mirrors a direction.
    static QColor mirrored(const QImage &image, const QVector3D &direction)
    {
        const QVector3D normal = (direction.normalized() + kZ).normalized();
        const float radius = 0.45f * float(image.height());
        return image.pixelColor(int(0.5f * float(image.width()) + radius * normal.x()),
                                int(0.5f * float(image.height()) - radius * normal.y()));
    }

    static int difference(const QColor &a, const QColor &b)
    {
        return std::max(
            {std::abs(a.red() - b.red()), std::abs(a.green() - b.green()), std::abs(a.blue() - b.blue())});
    }

    const QStringList _front{"--view", "0,0", "--size", "320x240"};
};

TEST_F(ZelviewEnvironmentPictureTest, AMirrorBallShowsEachOctantInItsDirection)
{
    const QString ball = writeBalls(_files, {{1.0, 0.0}});
    const QString panoramic = writeExr(_files, "panorama.exr", panorama(256, labelOf));
    const QString crossed = writePng(_files, "cross.png", wideCross());
    const struct
    {
        QStringList arguments;
        float turn; ///< degrees
        float gain;
    } kCases[] = {
        {{"--env", panoramic}, 0.0f, 1.0f},
        {{"--env", crossed, "--env-rotation", "90", "--exposure", "-1"}, 90.0f, 0.5f},
    };
    for (const auto &view : kCases) {
        const QImage image = bakedPicture(_front + QStringList{ball} + view.arguments);
        for (int eighth = 0; eighth < 8; ++eighth) {
            const QVector3D direction(eighth & 1 ? 1 : -1, eighth & 2 ? 1 : -1, eighth & 4 ? 1 : -1);
            QMatrix4x4 back;
            back.rotate(-view.turn, kY);
            const QColor expected = screenColor(labelOf(back.map(direction)) * view.gain);
            EXPECT_LT(difference(mirrored(image, direction), expected), 6) << "eighth " << eighth;
        }
    }
}

TEST_F(ZelviewEnvironmentPictureTest, WhiteBallsVanishInEvenLight)
{
    const QString even = writeExr(
        _files, "even.exr", panorama(32, [](const QVector3D &) { return QVector3D(0.5f, 0.5f, 0.5f); }));
    int visible = 0;
    for (const int rows : {48, 2}) { // smooth balls, and balls whose edges the normals do not show
        const QString balls = writeBalls(_files, {{0.0, 0.0}, {0.0, 1.0}, {1.0, 0.3}, {1.0, 1.0}}, rows);
        const QImage image = bakedPicture(_front + QStringList{balls, "--env", even});
        for (int i = 0; i < image.width() * image.height(); ++i) {
            const QColor color = image.pixelColor(i % image.width(), i / image.width());
            visible += difference(color, screenColor({0.5f, 0.5f, 0.5f})) > 3;
        }
    }
    EXPECT_LT(visible, 10); // pixels with false occlusion
}

TEST_F(ZelviewEnvironmentPictureTest, UnusableEnvironmentsPrintOneLine)
{
    const QString wall = _files.writeWall("wall.obj", 1, 1);
    const QString sound = writeExr(_files, "sound.exr", panorama(32, labelOf));
    LightImage oblong = panorama(32, labelOf);
    oblong.size = QSize(64, 8);
    const QByteArray whole = _files.read("sound.exr");
    const std::vector<Refusal> refusals = {
        {{wall, "--env", _files.path("none.exr")}, 2, "there is no file"},
        {{wall, "--env", _files.path(QString())}, 2, "is not a readable file"},
        {{wall, "--env", wall}, 3, "wall.obj' cannot be read"},
        {{wall, "--env", _files.write("cut.exr", whole.left(200))}, 3, "cut.exr' cannot be read: "},
        {{wall, "--env", _files.write("half.exr", whole.left(whole.size() / 2))},
         3,
         "half.exr' cannot be read: "},
        {{wall, "--env", writeExr(_files, "oblong.exr", oblong)},
         3,
         "is not an environment image: 64x8 is neither"},
        {{wall, "--env", writeExr(_files, "dot.exr", panorama(4, labelOf))}, 3, "is too small"},
        {{wall, "--env", sound, "--env-layout", "strip"}, 3, "is not a strip: its 32x16 texels"},
        {{wall, "--env", sound, "--env-layout", "ball"},
         1,
         "--env-layout takes 'latlong', 'cross' or 'strip'"},
        {{wall, "--env", sound, "--env-blur", "nan"}, 1, "--env-blur takes a number from 0 to 1"},
        {{wall, "--env-rotation", "20"}, 1, "--env-rotation needs --env"},
        {{wall, "--aa", "taa"}, 1, "--aa takes 'none', 'fxaa' or 'smaa', not 'taa'"},
        {{writePng(_files, "image.png", strip()), "--env", sound}, 1, "--env applies to models"},
    };
    expectRefusals(refusals, {"--offscreen", _files.path("out.png")});
}

/// The mean of the squared differences of all channels.
double meanSquareDifference(const QImage &a, const QImage &b)
{
    double sum = 0.0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width() * 3; ++x) {
            const double step = double(a.constScanLine(y)[x]) - double(b.constScanLine(y)[x]);
            sum += step * step;
        }
    }
    return sum / (3.0 * a.width() * a.height());
}

TEST_F(ZelviewEnvironmentPictureTest, EdgeFiltersApproachManySamples)
{
    const QStringList arguments{
        _files.writeWall("wall.obj", 4, 3), "--view", "27,14", "--size", "320x240", "--lights", "none"};
    const auto pictureOf = [&](const QStringList &more) {
        return picture(arguments + more).convertToFormat(QImage::Format_RGB888);
    };
    const QImage reference = pictureOf({"--samples", "8"});
    const double jagged = meanSquareDifference(pictureOf({"--samples", "1"}), reference);
    EXPECT_LT(meanSquareDifference(pictureOf({"--aa", "fxaa"}), reference), 0.75 * jagged);
    EXPECT_TRUE(holds(_last.output, ", 1 sample, fxaa\n"));
    EXPECT_LT(meanSquareDifference(pictureOf({"--aa", "smaa"}), reference), 0.4 * jagged);
}

} // namespace
