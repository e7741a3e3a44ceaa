#include "light/EnvironmentImage.h"

#include "frame/Console.h"
#include "frame/InputFile.h"
#include "image/ImageFile.h"
#include "image/TextureFacts.h"

#include <ZelGL/ZelGL.h>

#include <QtCore/qmath.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

using namespace Orvane::Zel;

namespace zelview {

namespace {

constexpr int kFaces = 6;
constexpr int kMinFace = 4;
constexpr int kMaxFace = 512;         ///< texels per side; more would not be visible in the background
constexpr float kMaxLight = 60000.0f; ///< just below the limit of half floats

Problem inputProblem(const QString &path, const QString &text)
{
    return {ExitCode::eInput, QStringLiteral("'%1' %2").arg(path, text)};
}

float decode(float encoded)
{
    return encoded <= 0.04045f ? encoded / 12.92f : std::pow((encoded + 0.055f) / 1.055f, 2.4f);
}

/// The base level of a face or 2D image, read back from GL.
std::vector<QVector3D> readTexels(const TextureFacts &facts, unsigned int face)
{
    std::vector<QVector3D> texels(size_t(facts.size.width()) * size_t(facts.size.height()));
    glGetTexImage(face, 0, GL_RGB, GL_FLOAT, texels.data());
    for (QVector3D &texel : texels) {
        if (facts.isGrey) {
            texel = QVector3D(texel.x(), texel.x(), texel.x());
        }
        if (facts.kind != TextureFacts::eFloat) { // glGetTexImage() does not decode sRGB formats either
            texel = QVector3D(decode(texel.x()), decode(texel.y()), decode(texel.z()));
        }
    }
    return texels;
}

void copyCell(const LightImage &from, const QPoint &corner, bool isTurned, LightImage &to, int face)
{
    const int side = to.size.height();
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const int column = corner.x() + (isTurned ? side - 1 - x : x);
            const int row = corner.y() + (isTurned ? side - 1 - y : y);
            to.texels[size_t(y) * size_t(kFaces * side) + size_t(face * side + x)] =
                from.texels[size_t(row) * size_t(from.size.width()) + size_t(column)];
        }
    }
}

LightImage emptyStrip(int side)
{
    return {QSize(kFaces * side, side), std::vector<QVector3D>(size_t(kFaces * side) * size_t(side))};
}

LightImage cutCross(const LightImage &cross)
{
    const bool isTall = cross.size.height() > cross.size.width();
    const int side = cross.size.width() / (isTall ? 3 : 4);
    const std::array<QPoint, kFaces> cells{
        {{2, 1}, {0, 1}, {1, 0}, {1, 2}, {1, 1}, isTall ? QPoint(1, 3) : QPoint(3, 1)}};
    LightImage strip = emptyStrip(side);
    for (int face = 0; face < kFaces; ++face) {
        copyCell(cross, cells[size_t(face)] * side, isTall && face == kFaces - 1, strip, face);
    }
    return strip;
}

void turnOver(LightImage &image)
{
    const auto width = std::ptrdiff_t(image.size.width());
    for (int y = 0; y < image.size.height() / 2; ++y) {
        const auto row = image.texels.begin() + y * width;
        std::swap_ranges(row, row + width, image.texels.end() - (y + 1) * width);
    }
}

LightImage joinFaces(const TextureFacts &facts, bool rowsGoUp)
{
    const int side = facts.size.width();
    LightImage strip = emptyStrip(side);
    for (int face = 0; face < kFaces; ++face) {
        const LightImage cell{facts.size, readTexels(facts, GL_TEXTURE_CUBE_MAP_POSITIVE_X + unsigned(face))};
        copyCell(cell, {}, false, strip, face);
    }
    if (rowsGoUp) {
        turnOver(strip); // flips each face, since they are side by side
    }
    return strip;
}

/// The texels of a plain image, top row first.
LightImage readPlain(const TextureFacts &facts, bool rowsGoUp)
{
    LightImage image{facts.size, readTexels(facts, GL_TEXTURE_2D)};
    if (rowsGoUp) {
        turnOver(image);
    }
    return image;
}

/// Loads a file with the library's readers: an unchecked panorama, or a strip if the file is a cube map.
Expected<EnvironmentImage> readByLibrary(const QString &path)
{
    TextureFileInfo asItIs;
    asItIs.keepOrientation = true;
    const Console::Collector quiet;
    const std::unique_ptr<Texture> texture(LoadTextureFromFile(path, asItIs));
    if (texture == nullptr || texture->target() == 0) {
        return inputProblem(path, QStringLiteral("cannot be read: ") + reasonOfFailure(path));
    }
    const TextureFacts facts = TextureFacts::of(*texture);
    const bool isCube = facts.target == GL_TEXTURE_CUBE_MAP;
    if (facts.size.isEmpty() || facts.kind == TextureFacts::eInteger
        || !(isCube || facts.target == GL_TEXTURE_2D)) {
        return inputProblem(path, QStringLiteral("is not an environment image: ") + facts.toString());
    }
    const AutoBinder bound(texture.get());
    const bool rowsGoUp = doRowsGoUp(path);
    return isCube ? EnvironmentImage{EnvironmentLayout::eStrip, joinFaces(facts, rowsGoUp)}
                  : EnvironmentImage{EnvironmentLayout::eLatLong, readPlain(facts, rowsGoUp)};
}

/// The layout that this size suggests: cells are square, and the texels of a panorama are.
std::optional<EnvironmentLayout> layoutOf(const QSize &size)
{
    const int width = size.width();
    const int height = size.height();
    if (width == 2 * height) {
        return EnvironmentLayout::eLatLong;
    }
    if (width == kFaces * height) {
        return EnvironmentLayout::eStrip;
    }
    if ((3 * width == 4 * height && width % 4 == 0) || (4 * width == 3 * height && width % 3 == 0)) {
        return EnvironmentLayout::eCross;
    }
    return {};
}

/// Checks that a layout of cells fits the size. A panorama may have any aspect ratio and is stretched.
Expected<EnvironmentLayout> resolveLayout(const QSize &size, std::optional<EnvironmentLayout> requested,
                                          const QString &path)
{
    const std::optional<EnvironmentLayout> found = layoutOf(size);
    const QString extent = QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
    if (requested && requested != found && requested != EnvironmentLayout::eLatLong) {
        return inputProblem(path, QStringLiteral("is not a %1: its %2 texels are not made of square cells")
                                      .arg(environmentLayoutName(*requested), extent));
    }
    if (!requested && !found) {
        return inputProblem(
            path, QStringLiteral("is not an environment image: %1 is neither 2:1 (latlong), 4:3 or 3:4 "
                                 "(cross) nor 6:1 (strip); --env-layout latlong forces it")
                      .arg(extent));
    }
    return requested ? *requested : *found;
}

/// Replaces negative values and NaNs by 0, and limits the others. The comparison is false for NaN.
void sanitize(LightImage &image)
{
    const auto sound = [](float value) { return value > 0.0f ? std::min(value, kMaxLight) : 0.0f; };
    for (QVector3D &texel : image.texels) {
        texel = QVector3D(sound(texel.x()), sound(texel.y()), sound(texel.z()));
    }
}

/// The size of the cube map. For a panorama it is finer than needed at the centre of a face, which keeps the image sharp at
/// the edges of the cube.
int faceSize(const EnvironmentImage &environment)
{
    return environment.image.size.width() / (environment.layout == EnvironmentLayout::eStrip ? kFaces : 2);
}

void reduce(EnvironmentImage &environment)
{
    while (faceSize(environment) > kMaxFace && faceSize(environment) % 2 == 0) {
        environment.image = halved(environment.image);
    }
}

} // namespace

LightImage halved(const LightImage &image)
{
    LightImage half{image.size / 2, {}};
    half.texels.reserve(image.texels.size() / 4);
    const auto width = size_t(image.size.width());
    for (int y = 0; y < half.size.height(); ++y) {
        for (int x = 0; x < half.size.width(); ++x) {
            const QVector3D *four = &image.texels[2 * size_t(y) * width + 2 * size_t(x)];
            half.texels.push_back(0.25f * (four[0] + four[1] + four[width] + four[width + 1]));
        }
    }
    return half;
}

QVector3D EnvironmentImage::direction(int x, int y) const
{
    const int width = image.size.width();
    const int height = image.size.height();
    if (layout == EnvironmentLayout::eLatLong) {
        const float around = 2.0f * float(M_PI) * (float(x) + 0.5f) / float(width);
        const float down = float(M_PI) * (float(y) + 0.5f) / float(height);
        return {std::cos(around) * std::sin(down), std::cos(down), std::sin(around) * std::sin(down)};
    }
    const float s = 2.0f * (float(x % height) + 0.5f) / float(height) - 1.0f;
    const float t = 2.0f * (float(y) + 0.5f) / float(height) - 1.0f;
    // The table of cube map faces in the OpenGL specification, solved for the direction.
    const std::array<QVector3D, kFaces> directions{
        {{1.0f, -t, -s}, {-1.0f, -t, s}, {s, 1.0f, t}, {s, -1.0f, -t}, {s, -t, 1.0f}, {-s, -t, -1.0f}}};
    return directions[size_t(x / height)].normalized();
}

float EnvironmentImage::solidAngle(int x, int y) const
{
    const int width = image.size.width();
    const int height = image.size.height();
    if (layout == EnvironmentLayout::eLatLong) {
        const float row = float(M_PI) / float(height);
        return 2.0f * float(M_PI) / float(width) * (std::cos(row * float(y)) - std::cos(row * float(y + 1)));
    }
    // The solid angle of a texel of a face at distance 1 is its area divided by the third power of its distance.
    const float s = 2.0f * (float(x % height) + 0.5f) / float(height) - 1.0f;
    const float t = 2.0f * (float(y) + 0.5f) / float(height) - 1.0f;
    return 4.0f / float(height * height) * std::pow(1.0f + s * s + t * t, -1.5f);
}

Expected<EnvironmentImage> loadEnvironmentImage(const QString &path, std::optional<EnvironmentLayout> layout)
{
    if (const Failure failure = checkInputFile(path)) {
        return *failure;
    }
    Expected<EnvironmentImage> environment = [&]() -> Expected<EnvironmentImage> {
        if (!isExrFile(path)) {
            return readByLibrary(path);
        }
        Expected<LightImage> image = readExr(path);
        return image ? Expected<EnvironmentImage>(EnvironmentImage{EnvironmentLayout::eLatLong, *image})
                     : Expected<EnvironmentImage>(image.problem());
    }();
    if (!environment) {
        return environment;
    }
    const Expected<EnvironmentLayout> settled = resolveLayout(environment->image.size, layout, path);
    if (!settled) {
        return settled.problem();
    }
    environment->layout = *settled;
    if (*settled == EnvironmentLayout::eCross) {
        environment->image = cutCross(environment->image);
        environment->layout = EnvironmentLayout::eStrip;
    }
    if (faceSize(*environment) < kMinFace) {
        return inputProblem(path, QStringLiteral("is too small for an environment: %1x%2 texels")
                                      .arg(environment->image.size.width())
                                      .arg(environment->image.size.height()));
    }
    sanitize(environment->image);
    reduce(*environment);
    return environment;
}

} // namespace zelview
