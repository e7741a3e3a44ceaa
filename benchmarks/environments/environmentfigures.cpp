// Prints how well the bakes preserve an environment, level by level, as a Markdown table:
//
//   environmentfigures [FILE] [-size S] [-samples N] [-seamless 0|1]
//
// FILE is a latlong Radiance picture; by default a sky with a small sun above a chequered ground. It is filtered as a cube
// map of size S and as an image of 2 S by S, for GGX and for Lambert's model.
//
// energy  the mean radiance over the sphere, relative to the source: 1 if filtering preserves it
// seam    the mean difference of neighbours across the edges of faces, or across the left and right edge of the image,
//         relative to that of other neighbours: about 1, or less, if no edge is visible

#include "../sidebyside/OffscreenStage.h"
#include "../sidebyside/SideBySide.h"
#include "TextureImages.h"

#include <ZelGL/OpenGLDeviceContext.h>
#include <ZelGL/PrefilteredEnvMap.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

using namespace Orvane::Zel;
using namespace TextureImages;

namespace {

constexpr double kPi = 3.14159265358979323846;

using Level = std::vector<Image>; ///< the faces of a cube, or one image

Image sunnySky()
{
    return Image(1024, 512, [](double u, double v, float *rgb) {
        const double phi = (u - 0.5) * 2.0 * kPi;
        const double theta = (v - 0.5) * kPi;
        const bool isSun = std::hypot(theta - 0.5, (phi + 1.0) * std::cos(theta)) < 0.03;
        const bool isLight = (int(std::floor(8 * phi / kPi)) + int(std::floor(8 * theta / kPi))) % 2 != 0;
        const double sky[] = {0.2 + 0.3 * v, 0.4 + 0.3 * v, 1.0};
        for (int c = 0; c < 3; ++c) {
            rgb[c] = float(isSun ? 500.0 : theta > 0.0 ? sky[c] : isLight ? 0.4 : 0.05);
        }
    });
}

/// The solid angle of the rectangle between the centre of a face and a point on it.
double cornerAngle(double s, double t)
{
    return std::atan2(s * t, std::sqrt(s * s + t * t + 1.0));
}

double solidAngle(bool isCube, int x, int y, int width, int height)
{
    if (!isCube) {
        return (std::sin(kPi * ((y + 1.0) / height - 0.5)) - std::sin(kPi * (double(y) / height - 0.5)))
               / width;
    }
    const auto place = [&](int i) { return 2.0 * i / width - 1.0; };
    return cornerAngle(place(x + 1), place(y + 1)) - cornerAngle(place(x), place(y + 1))
           - cornerAngle(place(x + 1), place(y)) + cornerAngle(place(x), place(y));
}

double meanRadiance(const Level &level)
{
    double sum = 0.0;
    double angles = 0.0;
    for (const Image &image : level) {
        for (int i = 0; i < image.width * image.height; ++i) {
            const int x = i % image.width;
            const int y = i / image.width;
            const double angle = solidAngle(level.size() == 6, x, y, image.width, image.height);
            sum += angle * double(image.at(x, y)[0] + image.at(x, y)[1] + image.at(x, y)[2]);
            angles += angle;
        }
    }
    return sum / angles;
}

double difference(const float *a, const float *b)
{
    return double(std::fabs(a[0] - b[0]) + std::fabs(a[1] - b[1]) + std::fabs(a[2] - b[2]));
}

/// The texel at a position of a face, which may be one texel outside of it, on the adjacent face.
const float *cubeTexel(const Level &faces, int face, int x, int y)
{
    const int size = faces[0].width;
    const double s = (2 * x + 1.0) / size - 1.0;
    const double t = (2 * y + 1.0) / size - 1.0;
    const std::array<std::array<double, 3>, 6> directions = {
        {{1, -t, -s}, {-1, -t, s}, {s, 1, t}, {s, -1, -t}, {s, -t, 1}, {-s, -t, -1}}};
    const auto &d = directions[size_t(face)];
    const auto *largest =
        std::max_element(d.begin(), d.end(), [](double a, double b) { return std::fabs(a) < std::fabs(b); });
    const int next = 2 * int(largest - d.begin()) + (*largest < 0.0 ? 1 : 0);
    const double nextS[] = {-d[2], d[2], d[0], d[0], d[0], -d[0]};
    const double nextT[] = {-d[1], -d[1], d[2], -d[2], -d[1], -d[1]};
    const auto index = [&](double place) { return int((place / std::fabs(*largest) + 1.0) / 2.0 * size); };
    return faces[size_t(next)].at(index(nextS[next]), index(nextT[next]));
}

/// The mean of all added values.
class Mean
{
public:
    void add(double value)
    {
        _sum += value;
        ++_count;
    }

    double get() const { return _sum / _count; }

private:
    double _sum = 0.0;
    int _count = 0;
};

double seamOf(const Level &level)
{
    const bool isCube = level.size() == 6;
    const int width = level[0].width;
    const int height = level[0].height;
    Mean over;
    Mean within;
    for (int face = 0; face < int(level.size()); ++face) {
        const Image &image = level[size_t(face)];
        const auto addEdge = [&](int x, int y, int acrossX, int acrossY) {
            over.add(difference(image.at(x, y), cubeTexel(level, face, acrossX, acrossY)));
        };
        for (int y = 0; y < height; ++y) {
            for (int x = 1; x < width; ++x) {
                within.add(difference(image.at(x, y), image.at(x - 1, y)));
                if (isCube) {
                    within.add(difference(image.at(y, x), image.at(y, x - 1)));
                }
            }
            if (isCube) {
                addEdge(0, y, -1, y);
                addEdge(width - 1, y, width, y);
                addEdge(y, 0, y, -1);
                addEdge(y, width - 1, y, width);
            } else {
                over.add(difference(image.at(0, y), image.at(width - 1, y)));
            }
        }
    }
    return over.get() / within.get();
}

Level readLevel(Texture &texture, int lod)
{
    Level level;
    if (texture.target() == GL_TEXTURE_CUBE_MAP) {
        for (int face = 0; face < 6; ++face) {
            level.push_back(readBack(texture, faceTarget(face), lod));
        }
    } else {
        level.push_back(readBack(texture, GL_TEXTURE_2D, lod));
    }
    return level;
}

/// The cells of the rows: energy and seam of both layouts for both models.
std::vector<std::vector<std::string>> bake(Texture &cube, Texture &latLong, int size, unsigned samples)
{
    const int levels = MaxLODLevel(size, size);
    std::vector<std::vector<std::string>> rows(static_cast<size_t>(levels));
    for (const ShadingModel model : {SHADING_PHYSICALLY_BASED, SHADING_LAMBERTIAN_DIFFUSE}) {
        for (Texture *source : {&cube, &latLong}) {
            const TexturePointer result(
                source == &cube
                    ? CreatePrefilteredCubeEnvMap(source, size, samples, model, RGBA32F)
                    : CreatePrefilteredLatLongEnvMap(source, 2 * size, size, samples, model, RGBA32F));
            const double energy = meanRadiance(readLevel(*source, 0));
            for (int lod = 0; lod < levels; ++lod) {
                const Level level = readLevel(*result, lod);
                char text[64];
                std::snprintf(text, sizeof text, "%.4f", meanRadiance(level) / energy);
                rows[size_t(lod)].push_back(text);
                std::snprintf(text, sizeof text, "%.2f", seamOf(level));
                rows[size_t(lod)].push_back(
                    lod + 1 < levels ? text : "-"); // texels of the last level have no neighbours
            }
        }
    }
    return rows;
}

} // namespace

int main(int argc, char **argv)
{
    const SideBySide::Arguments arguments(argc, argv);
    const int size = std::max(2, arguments.integer("-size", 64));
    const auto samples = unsigned(std::max(1, arguments.integer("-samples", 1024)));
    const QString file = QString::fromStdString(arguments.file());
    const std::unique_ptr<OffscreenStage> stage = OffscreenStage::create(64, 64);
    if (stage == nullptr) {
        return 1;
    }
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    (arguments.integer("-seamless", 1) != 0 ? glEnable : glDisable)(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    const auto source = [&] { return file.isEmpty() ? upload(sunnySky()) : load(file); };
    if (source() == nullptr) {
        std::fprintf(stderr, "cannot read %s\n", qPrintable(file));
        return 1;
    }
    {
        const TexturePointer latLong = upload(readBack(*source(), GL_TEXTURE_2D, 0)); // with a mip chain
        const TexturePointer cube = cubeOfLatLong(source());
        const auto rows = bake(*cube, *latLong, size, samples);
        std::printf("| level | roughness | GGX, cube: energy | seam | GGX, image: energy | seam | Lambert, "
                    "cube: energy "
                    "| seam | Lambert, image: energy | seam |\n|---|---|---|---|---|---|---|---|---|---|\n");
        for (size_t lod = 0; lod < rows.size(); ++lod) {
            std::printf("| %zu | %.3f |", lod,
                        double(RoughnessForLOD(int(lod), int(rows.size()), SHADING_PHYSICALLY_BASED)));
            for (const std::string &cell : rows[lod]) {
                std::printf(" %s |", cell.c_str());
            }
            std::printf("\n");
        }
    }
    OpenGLDeviceContext::resetContext();
    return 0;
}
