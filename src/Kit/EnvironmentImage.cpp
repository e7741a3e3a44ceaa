#include "EnvironmentImage.h"

#include "private/Checks.h"
#include "private/SavedTarget.h"

#include <ZelGL/ZelGL.h>

#include <QtCore/QFile>
#include <QtCore/QtEndian>
#include <QtCore/qmath.h>

#include <algorithm>
#include <array>
#include <cmath>

using namespace Orvane::Zel;

namespace Orvane { namespace ZelKit {

namespace {

constexpr int kFaces = 6;
constexpr int kMinFace = 4;
constexpr int kMaxFace = 512;         ///< texels per side; more would not be visible in the background
constexpr float kMaxLight = 60000.0f; ///< just below the limit of half floats

using Layout = EnvironmentImage::Layout;

float decode(float encoded)
{
    return encoded <= 0.04045f ? encoded / 12.92f : std::pow((encoded + 0.055f) / 1.055f, 2.4f);
}

float encode(float linear)
{
    return linear <= 0.0031308f ? 12.92f * linear : 1.055f * std::pow(linear, 1.0f / 2.4f) - 0.055f;
}

/// What the reading of a texture needs to know.
struct TextureFacts
{
    explicit TextureFacts(Texture &texture)
        : target(texture.target())
        , size(texture.width(0), std::max(texture.height(0), 1))
        , type(GLenum(texture.getTexLevelParameteriv(0, GL_TEXTURE_RED_TYPE)))
        , isGrey(texture.getTexLevelParameteriv(0, GL_TEXTURE_GREEN_SIZE) == 0)
    {
    }

    bool isEnvironment() const
    {
        return !size.isEmpty() && type != GL_INT && type != GL_UNSIGNED_INT
               && (target == GL_TEXTURE_CUBE_MAP || target == GL_TEXTURE_2D);
    }

    GLenum target;
    QSize size;
    GLenum type;
    bool isGrey;
};

/// The base level of a face or 2D image, read back from GL.
std::vector<QVector3D> readTexels(const TextureFacts &facts, unsigned int face)
{
    std::vector<QVector3D> texels(size_t(facts.size.width()) * size_t(facts.size.height()));
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glGetTexImage(face, 0, GL_RGB, GL_FLOAT, texels.data());
    for (QVector3D &texel : texels) {
        if (facts.isGrey) {
            texel = QVector3D(texel.x(), texel.x(), texel.x());
        }
        if (facts.type != GL_FLOAT) { // glGetTexImage() does not decode sRGB formats either
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

/// The key-value block of a KTX file; empty if it has none. KTXReader returns keys, but empty values.
QByteArray ktxMetadata(const QString &path)
{
    constexpr int kHeader = 64;
    constexpr int kByteOrder = 12;            // offset of its marker
    constexpr int kLength = 60;               // offset of the length of the block
    constexpr quint32 kMaxMetadata = 1 << 16; // bytes that are searched
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QByteArray header = file.read(kHeader);
    if (header.size() < kHeader) {
        return {};
    }
    const char *length = header.constData() + kLength;
    return file.read(std::min(header[kByteOrder] == 1 ? qFromLittleEndian<quint32>(length)
                                                      : qFromBigEndian<quint32>(length),
                              kMaxMetadata));
}

const char *nameOf(Layout layout)
{
    return layout == EnvironmentImage::eLatLong ? "latlong"
           : layout == EnvironmentImage::eCross ? "cross"
                                                : "strip";
}

QString sizeText(const QSize &size)
{
    return QStringLiteral("%1x%2 texels").arg(size.width()).arg(size.height());
}

/// Whether there is a texel for each position; otherwise a message.
bool isComplete(const LightImage &image, QString *error)
{
    if (!image.size.isEmpty()
        && size_t(image.size.width()) * size_t(image.size.height()) == image.texels.size()) {
        return true;
    }
    fail(error, QStringLiteral("an environment image of %1 cannot have %2 of them")
                    .arg(sizeText(image.size))
                    .arg(image.texels.size()));
    return false;
}

bool isInside(const QSize &size, int x, int y)
{
    return x >= 0 && x < size.width() && y >= 0 && y < size.height();
}

/// Checks that a layout of cells fits the size.
std::optional<Layout> resolveLayout(const QSize &size, std::optional<Layout> requested, QString *error)
{
    const std::optional<Layout> found = EnvironmentImage::layoutOf(size);
    if (requested && requested != found && requested != EnvironmentImage::eLatLong) {
        fail(error, QStringLiteral("an environment image of %1 is not a %2: it is not made of square cells")
                        .arg(sizeText(size), QLatin1String(nameOf(*requested))));
        return {};
    }
    if (!requested && !found) {
        fail(error, QStringLiteral("an environment image of %1 is neither 2:1 (latlong), 4:3 or 3:4 (cross) "
                                   "nor 6:1 (strip); pass eLatLong to stretch it")
                        .arg(sizeText(size)));
    }
    return requested ? requested : found;
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
    return environment.image.size.width() / (environment.layout == EnvironmentImage::eStrip ? kFaces : 2);
}

/// An odd face would not end at a texel of the reduced strip.
void reduce(EnvironmentImage &environment)
{
    const auto canHalve = [&environment] {
        return environment.layout == EnvironmentImage::eLatLong ? environment.image.size.height() > 1
                                                                : faceSize(environment) % 2 == 0;
    };
    while (faceSize(environment) > kMaxFace && canHalve()) {
        environment.image = halved(environment.image);
    }
}

std::unique_ptr<Texture> upload(const LightImage &image)
{
    static_assert(sizeof(QVector3D) == 3 * sizeof(float), "rows of plain floats");
    const int width = image.size.width();
    const int height = image.size.height();
    auto texture = std::make_unique<Texture>(GL_TEXTURE_2D, GL_RGB16F, width, height, 1, nullptr);
    const AutoBinder bound(texture.get());
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB16F, width, height, 0, GL_RGB, GL_FLOAT, image.texels.data());
    return texture;
}

/// Interpolates between the texels of a panorama, to avoid stepped edges.
class SmoothPanorama : public TvoImageCubemapUtils::TvoRenderCubemap_LatLongSphere
{
public:
    SmoothPanorama() { setFilters(GL_LINEAR, GL_LINEAR); }
};

} // namespace

LightImage halved(const LightImage &image)
{
    if (!isComplete(image, nullptr)) {
        return {};
    }
    LightImage half{QSize(image.size.width() / 2, image.size.height() / 2), {}}; // QSize's own / rounds up
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

std::optional<Layout> EnvironmentImage::layoutOf(const QSize &size)
{
    const auto width = qint64(size.width());
    const auto height = qint64(size.height());
    if (size.isEmpty()) {
        return {};
    }
    if (width == 2 * height) {
        return eLatLong;
    }
    if (width == kFaces * height) {
        return eStrip;
    }
    if ((3 * width == 4 * height && width % 4 == 0) || (4 * width == 3 * height && width % 3 == 0)) {
        return eCross;
    }
    return {};
}

std::optional<EnvironmentImage> EnvironmentImage::prepared(LightImage image, std::optional<Layout> layout,
                                                           QString *error)
{
    const QSize size = image.size;
    if (!isComplete(image, error)) {
        return {};
    }
    const std::optional<Layout> resolved = resolveLayout(size, layout, error);
    if (!resolved) {
        return {};
    }
    EnvironmentImage environment{*resolved, std::move(image)};
    if (*resolved == eCross) {
        environment = {eStrip, cutCross(environment.image)};
    }
    if (faceSize(environment) < kMinFace) {
        fail(error, QStringLiteral("an environment image of %1 is too small").arg(sizeText(size)));
        return {};
    }
    sanitize(environment.image);
    reduce(environment);
    return environment;
}

std::optional<EnvironmentImage> EnvironmentImage::load(const QString &path, std::optional<Layout> layout,
                                                       QString *error)
{
    if (!hasContext("environment image", error)) {
        return {};
    }
    TextureFileInfo asInFile;
    asInFile.keepOrientation = true;
    const std::unique_ptr<Texture> texture(LoadTextureFromFile(path, asInFile));
    if (texture == nullptr) {
        fail(error, QStringLiteral("'%1' is no environment image that can be loaded").arg(path));
        return {};
    }
    return fromTexture(*texture, isFirstRowLowest(path), layout, error);
}

bool EnvironmentImage::isFirstRowLowest(const QString &path)
{
    const std::unique_ptr<TextureLoader> reader(IdentifyTextureFromFile(path));
    if (dynamic_cast<const KTXReader *>(reader.get()) == nullptr) {
        return dynamic_cast<const ASTCReader *>(reader.get()) == nullptr;
    }
    const QByteArray metadata = ktxMetadata(path);
    const int key = metadata.indexOf(QByteArray("KTXorientation", 15)); // including the terminating NUL
    const int value = key + 15;
    return key >= 0 && metadata.mid(value, metadata.indexOf('\0', value) - value).contains("T=u");
}

std::optional<EnvironmentImage> EnvironmentImage::fromTexture(Texture &texture, bool isFirstRowLowest,
                                                              std::optional<Layout> layout, QString *error)
{
    if (!hasContext("environment image", error)) {
        return {};
    }
    if (glIsTexture(texture.textureID()) == GL_FALSE) {
        fail(error, QStringLiteral("an environment image must come from a texture of the current context"));
        return {};
    }
    const AutoBinder bound(&texture);
    const TextureFacts facts(texture);
    if (!facts.isEnvironment()) {
        fail(error, QStringLiteral("an environment image must be a 2D texture or a cube map with texels that "
                                   "are not integers"));
        return {};
    }
    const bool isCube = facts.target == GL_TEXTURE_CUBE_MAP;
    return prepared(isCube ? joinFaces(facts, isFirstRowLowest) : readPlain(facts, isFirstRowLowest),
                    isCube ? eStrip : layout, error);
}

QImage EnvironmentImage::picture(float exposure) const
{
    if (!isComplete(image, nullptr)) {
        return {};
    }
    QImage picture(image.size, QImage::Format_RGB32);
    const float strength = std::exp2(exposure);
    const auto toByte = [strength](float radiance) {
        return int(std::lround(255.0f * encode(std::min(strength * radiance, 1.0f))));
    };
    for (int y = 0; y < picture.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = 0; x < picture.width(); ++x) {
            const QVector3D &texel = at(x, y);
            row[x] = qRgb(toByte(texel.x()), toByte(texel.y()), toByte(texel.z()));
        }
    }
    return picture;
}

QVector3D EnvironmentImage::direction(int x, int y) const
{
    const int width = image.size.width();
    const int height = image.size.height();
    if (!isInside(image.size, x, y) || (layout != eLatLong && x / height >= kFaces)) {
        return {};
    }
    if (layout == eLatLong) {
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
    if (!isInside(image.size, x, y)) {
        return 0.0f;
    }
    if (layout == eLatLong) {
        const float row = float(M_PI) / float(height);
        return 2.0f * float(M_PI) / float(width) * (std::cos(row * float(y)) - std::cos(row * float(y + 1)));
    }
    // The solid angle of a texel of a face at distance 1 is its area divided by the third power of its distance.
    const float s = 2.0f * (float(x % height) + 0.5f) / float(height) - 1.0f;
    const float t = 2.0f * (float(y) + 0.5f) / float(height) - 1.0f;
    return 4.0f / float(height * height) * std::pow(1.0f + s * s + t * t, -1.5f);
}

std::unique_ptr<Texture> EnvironmentImage::cubeMap(QString *error) const
{
    if (!hasContext("environment image", error)) {
        return nullptr;
    }
    if (layout == eCross || image.size.isEmpty() || faceSize(*this) < kMinFace
        || size_t(image.size.width()) * size_t(image.size.height()) != image.texels.size()) {
        fail(error, QStringLiteral("an environment image must come from prepared() or fromTexture()"));
        return nullptr;
    }
    const SavedTarget target;
    const AutoEnabler seamless(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    const std::unique_ptr<Texture> plain = upload(image);
    std::unique_ptr<Texture> cube;
    if (layout == eStrip) {
        using namespace TvoImageCubemapUtils;
        cube.reset(createGLCubemapFromTexture(plain.get(), eSourceLinear, GL_TEXTURE_CUBE_MAP,
                                              eColorSpaceLinear, 0));
    } else {
        SmoothPanorama panorama;
        panorama.setTexture(plain.get());
        cube.reset(panorama.createCubemap(faceSize(*this), GL_RGB16F, GL_TEXTURE_CUBE_MAP));
    }
    if (cube == nullptr) {
        fail(
            error,
            QStringLiteral("the driver cannot convert an environment image of %1").arg(sizeText(image.size)));
    }
    return cube;
}

}} // namespace Orvane::ZelKit
