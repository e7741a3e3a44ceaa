// Draws the layouts of environments as one picture: environmentpicture FILE.png
//
// The world is a cube of six colours with the names of its directions, readable from the centre. The library gets it as a
// latlong image; everything else in the picture is converted by the library. The exit code is 1 if a layout changes in a
// conversion to another layout and back.

#include "../sidebyside/OffscreenStage.h"
#include "../sidebyside/SideBySide.h"
#include "TextureImages.h"

#include <ZelGL/OpenGLDeviceContext.h>
#include <ZelGL/PrefilteredEnvMap.h>
#include <ZelGL/TvoImageCubemapUtils.h>

#include <QtGui/QImage>
#include <QtGui/QPainter>
#include <QtGui/QPainterPath>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

using namespace Orvane::Zel;
using namespace TvoImageCubemapUtils;
using namespace TextureImages;

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kFaceSize = 512;
const char *const kNames[] = {"+X", "-X", "+Y", "-Y", "+Z", "-Z"};

struct Colours
{
    QColor back, front;
};

/// The dark colour of a hue is in the direction of the axis, the light colour in the opposite direction.
const Colours kColours[] = {{"#b8323c", "#ffffff"}, {"#f3b0ae", "#7a1c24"}, {"#2f8a4a", "#ffffff"},
                            {"#b4dfb6", "#1c5a30"}, {"#2a62a8", "#ffffff"}, {"#aecdec", "#1a4175"}};

/// A side of the world, seen from the centre. Up is +y; for the side +y up is -z, and for -y it is +z.
QImage sideOfTheWorld(int side)
{
    QImage image(kFaceSize, kFaceSize, QImage::Format_RGB32);
    image.fill(kColours[side].back);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor line = kColours[side].front;
    line.setAlphaF(0.28);
    painter.setPen(QPen(line, 3));
    for (int i = 1; i < 4; ++i) {
        const int at = i * kFaceSize / 4;
        painter.drawLine(at, 0, at, kFaceSize);
        painter.drawLine(0, at, kFaceSize, at);
    }
    painter.setPen(QPen(kColours[side].back.darker(140), 14));
    painter.drawRect(QRectF(6, 6, kFaceSize - 12, kFaceSize - 12));
    QPainterPath arrow; // points up
    arrow.moveTo(kFaceSize * 0.5, kFaceSize * 0.07);
    arrow.lineTo(kFaceSize * 0.58, kFaceSize * 0.19);
    arrow.lineTo(kFaceSize * 0.42, kFaceSize * 0.19);
    painter.fillPath(arrow, kColours[side].front);
    QFont font("DejaVu Sans");
    painter.setPen(kColours[side].front);
    font.setBold(true);
    font.setPixelSize(kFaceSize * 2 / 5);
    painter.setFont(font);
    painter.drawText(QRect(0, kFaceSize / 16, kFaceSize, kFaceSize), Qt::AlignCenter,
                     QString(kNames[side]).replace('-', QChar(0x2212)));
    return image;
}

/// The colour of a direction. GL's faces show the world from outside, so left and right are exchanged.
class World
{
public:
    World()
    {
        for (int side = 0; side < 6; ++side) {
            _sides[size_t(side)] = sideOfTheWorld(side);
        }
    }

    void color(double x, double y, double z, float *rgb) const
    {
        const double d[] = {x, y, z};
        const auto *largest =
            std::max_element(d, d + 3, [](double a, double b) { return std::fabs(a) < std::fabs(b); });
        const int side = 2 * int(largest - d) + (*largest < 0.0 ? 1 : 0);
        const double s[] = {-z, z, x, x, x, -x};
        const double t[] = {-y, -y, z, -z, -y, -y};
        const auto index = [&](double place) {
            return std::min(int((place / std::fabs(*largest) + 1.0) / 2.0 * kFaceSize), kFaceSize - 1);
        };
        const QColor color = _sides[size_t(side)].pixelColor(kFaceSize - 1 - index(s[side]), index(t[side]));
        rgb[0] = float(color.redF());
        rgb[1] = float(color.greenF());
        rgb[2] = float(color.blueF());
    }

private:
    std::array<QImage, 6> _sides;
};

/// The world in the layout of the filter: ground first, and the left edge at -x.
Image filterLayout(const World &world)
{
    return Image(2048, 1024, [&](double u, double v, float *rgb) {
        const double phi = (u - 0.5) * 2.0 * kPi;
        const double theta = (v - 0.5) * kPi;
        world.color(std::cos(phi) * std::cos(theta), std::sin(theta), std::sin(phi) * std::cos(theta), rgb);
    });
}

/// The world in the layout of the conversion to a cube map: sky first, and the left edge at +x.
Image cubeLayout(const World &world)
{
    return Image(2048, 1024, [&](double u, double v, float *rgb) {
        const double theta = 2.0 * kPi * u;
        const double phi = kPi * v;
        world.color(std::sin(phi) * std::cos(theta), std::cos(phi), std::sin(phi) * std::sin(theta), rgb);
    });
}

/// The image with row 0 at the top.
QImage toPicture(const Image &image)
{
    QImage picture(image.width, image.height, QImage::Format_RGB32);
    for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x) {
            const auto byte = [&](int c) {
                return int(std::lround(255.0f * std::min(image.at(x, y)[c], 1.0f)));
            };
            picture.setPixel(x, y, qRgb(byte(0), byte(1), byte(2)));
        }
    }
    return picture;
}

using Faces = std::vector<QImage>;

Faces facesOf(Texture &cube)
{
    Faces faces;
    for (int face = 0; face < 6; ++face) {
        faces.push_back(toPicture(readBack(cube, faceTarget(face), 0)));
    }
    return faces;
}

TexturePointer cubeOf(Texture &image, TvoImageCubemapSourceType type)
{
    return TexturePointer(
        createGLCubemapFromTexture(&image, type, GL_TEXTURE_CUBE_MAP, eColorSpaceLinear, 0));
}

/// A cross, as a host gets it and cuts into a strip: see the cells in docs/environment-images.md.
QImage crossOf(const Faces &faces, bool wide)
{
    const QPoint cells[] = {{2, 1}, {0, 1}, {1, 0}, {1, 2}, {1, 1}, wide ? QPoint(3, 1) : QPoint(1, 3)};
    const int size = faces[0].width();
    QImage cross(size * (wide ? 4 : 3), size * (wide ? 3 : 4), QImage::Format_ARGB32_Premultiplied);
    cross.fill(Qt::transparent);
    QPainter painter(&cross);
    for (size_t face = 0; face < faces.size(); ++face) {
        const bool isTurned = face == 5 && !wide;
        painter.drawImage(cells[face] * size, isTurned ? faces[face].mirrored(true, true) : faces[face]);
    }
    return cross;
}

/// The page: pictures with a line of text above them.
class Page
{
public:
    Page(int width, int height)
        : _page(width, height, QImage::Format_RGB32)
    {
        _page.fill(QColor("#fbfbf9"));
    }

    void put(const QRect &place, const QImage &picture, const QString &title, const QString &detail)
    {
        QPainter painter(&_page);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.drawImage(place,
                          picture.scaled(place.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
        write(painter, place.topLeft() - QPoint(0, 32), title, true);
        write(painter, place.topLeft() - QPoint(0, 12), detail, false);
    }

    void put(const QPoint &place, const QString &line)
    {
        QPainter painter(&_page);
        painter.setRenderHint(QPainter::Antialiasing);
        write(painter, place, line, false);
    }

    bool save(const QString &file) const { return _page.save(file); }

private:
    static void write(QPainter &painter, const QPoint &place, const QString &text, bool bold)
    {
        QFont font("DejaVu Sans");
        font.setPixelSize(bold ? 17 : 14);
        font.setBold(bold);
        painter.setFont(font);
        painter.setPen(QColor(bold ? "#1d1f22" : "#55595f"));
        painter.drawText(place, text);
    }

    QImage _page;
};

bool draw(const QString &file)
{
    const World world;
    const TexturePointer forTheFilter = upload(filterLayout(world));
    const TexturePointer forTheCube = upload(cubeLayout(world));
    const TexturePointer cube = cubeOf(*forTheCube, eSourceLatLong);
    const TexturePointer filtered(
        CreatePrefilteredLatLongEnvMap(forTheFilter.get(), 2048, 1024, 1, SHADING_PHYSICALLY_BASED, RGBA16F));
    const TexturePointer strip(createGLCubemapStripFromTexture(cube.get(), 0));
    if (cube == nullptr || filtered == nullptr || strip == nullptr) {
        return false;
    }
    const Faces faces = facesOf(*cube);
    const QImage stripFile =
        toPicture(readBack(*strip, GL_TEXTURE_2D, 0)).mirrored(); // the lowest row is first
    Image skyFirst = readBack(*strip, GL_TEXTURE_2D, 0);
    for (int y = 0; y < skyFirst.height / 2; ++y) {
        std::swap_ranges(skyFirst.at(0, y), skyFirst.at(0, y) + 4 * skyFirst.width,
                         skyFirst.at(0, skyFirst.height - 1 - y));
    }
    const TexturePointer backAgain = cubeOf(*upload(skyFirst), eSourceLinear);
    if (facesOf(*backAgain) != faces) {
        std::fprintf(stderr, "the strip does not come back\n");
        return false;
    }

    Page page(1240, 1602);
    page.put({20, 70, 590, 295}, toPicture(cubeLayout(world)), "Latitude and longitude, to a cube map",
             "createGLCubemapFromTexture, eSourceLatLong; v = 0 on top");
    page.put({630, 70, 590, 295}, toPicture(readBack(*filtered, GL_TEXTURE_2D, 0)).mirrored(),
             "Latitude and longitude, filtered", "CreatePrefilteredLatLongEnvMap; v = 0 below");
    for (int face = 0; face < 6; ++face) {
        page.put({20 + 204 * face, 445, 180, 180}, faces[size_t(face)],
                 face == 0 ? "The faces of the cube map that comes out" : "",
                 QString("GL_\u2026_%1_%2")
                     .arg(face % 2 == 0 ? "POSITIVE" : "NEGATIVE", QString(kNames[face][1])));
    }
    page.put({20, 705, 1200, 200}, stripFile, "The strip",
             "createGLCubemapStripFromTexture, as a file shows it; and for eSourceLinear, v = 0 on top");
    page.put({20, 985, 680, 510}, crossOf(faces, true), "Crosses",
             "4 by 3 cells, to be cut into a strip first");
    page.put({750, 985, 450, 600}, crossOf(faces, false), "",
             "3 by 4 cells; the cell of \u2212Z is turned by half a turn");
    page.put(QPoint(20, 1548),
             "The names are written to be read from the middle of the world, as the two images above are.");
    page.put(QPoint(20, 1570),
             "The faces of GL show the world from outside, so there they stand in mirror writing.");
    return page.save(file);
}

} // namespace

int main(int argc, char **argv)
{
    const QString file = QString::fromStdString(SideBySide::Arguments(argc, argv).file());
    if (file.isEmpty()) {
        std::fprintf(stderr, "usage: environmentpicture FILE.png\n");
        return 2;
    }
    const std::unique_ptr<OffscreenStage> stage = OffscreenStage::create(64, 64);
    if (stage == nullptr) {
        return 1;
    }
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    const bool isDrawn = draw(file);
    OpenGLDeviceContext::resetContext();
    return isDrawn ? 0 : 1;
}
