// Environments, from files to pictures, and the edge filters of finished pictures.

#include "Zelview.h"

#include "frame/Graphics.h"
#include "frame/Options.h"
#include "light/DistantLight.h"
#include "light/EnvironmentImage.h"

#include "../support/FileMaker.h"

#include <OpenEXR/ImfRgbaFile.h>

#include <QtGui/QMatrix4x4>

#include <cmath>

using namespace zelview;

namespace {

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
    LightImage image{cells * kSide,
                     std::vector<QVector3D>(size_t(cells.width() * cells.height() * kSide * kSide))};
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

LightImage wideCross()
{
    return cross({4, 3}, {3, 1, -kZ, -kX, -kY});
}

LightImage tallCross()
{
    return cross({3, 4}, {1, 3, -kZ, kX, kY});
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

QByteArray hdrOf(const LightImage &image)
{
    HdrFile file(image.size.width(), image.size.height());
    HdrFile::Row texels;
    for (const QVector3D &light : image.texels) {
        const auto byte = [](float value) { return static_cast<unsigned char>(std::lround(value * 256.0f)); };
        texels.append({byte(light.x()), byte(light.y()), byte(light.z()), 128});
    }
    file.scanlines = HdrFile::flat(texels);
    return file.bytes();
}

/// A cube map of the faces of a strip.
QByteArray ktxOf(const LightImage &strip, bool rowsGoUp)
{
    const int side = strip.size.height();
    KtxFile file = KtxFile::of(quint32(side), quint32(side), 0, 0x8051, GL_RGB); // GL_RGB8
    file.faces = 6;
    file.keyValues = KtxFile::paddedEntry("KTXorientation", rowsGoUp ? "S=r,T=u" : "S=r,T=d");
    QByteArray texels;
    for (int i = 0; i < 6; ++i) {
        const QImage face = screenImage(strip).copy(i * side, 0, side, side).mirrored(false, rowsGoUp);
        texels.append(reinterpret_cast<const char *>(face.constBits()), 3 * side * side);
    }
    file.levels.append({quint32(3 * side * side), texels});
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

    /// Writes white balls side by side as a glTF file. Balls of few rows have edges that their normals do not show.
    QString writeBalls(const std::vector<std::pair<double, double>> &metalnessAndRoughness, int rows) const
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
        for (const auto &[metalness, roughness] : metalnessAndRoughness) {
            const int i = nodes.size();
            nodes += QString(R"({"mesh":%1,"translation":[%2,0,0]})").arg(i).arg(2.2 * i);
            meshes +=
                QString(
                    R"({"primitives":[{"attributes":{"POSITION":0,"NORMAL":0},"indices":1,"material":%1}]})")
                    .arg(i);
            materials += QString(R"({"pbrMetallicRoughness":{"metallicFactor":%1,"roughnessFactor":%2}})")
                             .arg(metalness)
                             .arg(roughness);
        }
        const QString members = R"("meshes":[%1],"materials":[%2],
            "accessors":[{"bufferView":0,"componentType":5126,"count":%3,"type":"VEC3","min":[-1,-1,-1],"max":[1,1,1]},
                         {"bufferView":1,"componentType":5125,"count":%4,"type":"SCALAR"}])";
        return writeGltf("balls.gltf", "[" + nodes.join(',').toUtf8() + "]",
                         members.arg(meshes.join(','), materials.join(','))
                             .arg(points.size() / 3)
                             .arg(indices.size())
                             .toUtf8(),
                         {bytesOf(points), bytesOf(indices)});
    }

    /// A picture from a run that prints only the progress of the bake on stderr.
    QImage bakedPicture(const QStringList &arguments)
    {
        run(arguments + QStringList{"--view", "0,0", "--offscreen", path("baked.png")});
        EXPECT_EQ(_last.code, 0);
        EXPECT_EQ(_last.errors.count('\n'), 4);
        EXPECT_EQ(_last.errors.count(
                      QRegularExpression("^zelview: environment: ", QRegularExpression::MultilineOption)),
                  4);
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
        {writeExr("strip.exr", strip()), EnvironmentLayout::eStrip},
        {writeExr("tall.exr", tallCross()), {}},
        {write("wide.png", pngOf(screenImage(wideCross()))), {}},
        {write("panorama.png", pngOf(screenImage(panorama(64, labelOf)))), EnvironmentLayout::eLatLong},
        {write("strip.hdr", hdrOf(strip())), {}},
        {write("cube.ktx", ktxOf(strip(), false)), {}},
        {write("up.ktx", ktxOf(strip(), true)), {}},
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

TEST_F(ZelviewEnvironmentTest, AMirrorBallShowsEachOctantInItsDirection)
{
    const QString ball = writeBalls({{1.0, 0.0}}, 48);
    const struct
    {
        QStringList arguments;
        float turn; ///< degrees
        float gain;
    } rows[] = {
        {{"--env", writeExr("panorama.exr", panorama(256, labelOf))}, 0.0f, 1.0f},
        {{"--env", write("cross.png", pngOf(screenImage(wideCross()))), "--env-rotation", "90", "--exposure",
          "-1"},
         90.0f,
         0.5f},
    };
    for (const auto &row : rows) {
        const QImage image = bakedPicture(row.arguments + QStringList{ball, "--size", "120x120"});
        for (int eighth = 0; eighth < 8; ++eighth) {
            const QVector3D direction(eighth & 1 ? 1 : -1, eighth & 2 ? 1 : -1, eighth & 4 ? 1 : -1);
            const QVector3D normal = (direction.normalized() + kZ).normalized();
            const QColor shown =
                image.pixelColor(int(60.0f + 54.0f * normal.x()), int(60.0f - 54.0f * normal.y()));
            QMatrix4x4 back;
            back.rotate(-row.turn, kY);
            const QColor expected = screenColor(labelOf(back.map(direction)) * row.gain);
            EXPECT_NEAR(shown.red(), expected.red(), 6) << eighth;
            EXPECT_NEAR(shown.green(), expected.green(), 6) << eighth;
            EXPECT_NEAR(shown.blue(), expected.blue(), 6) << eighth;
        }
    }
}

TEST_F(ZelviewEnvironmentTest, WhiteBallsVanishInEvenLight)
{
    const QString even =
        writeExr("even.exr", panorama(32, [](const QVector3D &) { return QVector3D(0.5f, 0.5f, 0.5f); }));
    int visible = 0;
    for (const int rows : {48, 2}) {
        const QString balls = writeBalls({{0.0, 0.0}, {0.0, 1.0}, {1.0, 0.3}, {1.0, 1.0}}, rows);
        const QImage image = bakedPicture({balls, "--env", even, "--size", "320x240"});
        for (int i = 0; i < image.width() * image.height(); ++i) {
            const QColor color = image.pixelColor(i % image.width(), i / image.width());
            visible += std::abs(color.green() - screenColor({0.5f, 0.5f, 0.5f}).green()) > 3;
        }
    }
    EXPECT_LT(visible, 10); // pixels with false occlusion
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
