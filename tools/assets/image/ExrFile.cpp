#include "image/ExrFile.h"

#include <QtCore/QFile>

#include <OpenEXR/ImfRgbaFile.h>
#include <OpenEXR/ImfTestFile.h>

#include <exception>

namespace zeltools {

namespace {

constexpr qint64 kMaxTexels = 16384 * 8192;

Problem inputProblem(const QString &path, const QString &reason)
{
    return {ExitCode::eInput, QStringLiteral("'%1' cannot be read: %2").arg(path, reason)};
}

Expected<LightImage> read(const QString &path)
{
    Imf::RgbaInputFile file(QFile::encodeName(path).constData());
    const Imath::Box2i window = file.dataWindow();
    // In 64 bits: the corners in a malformed file may have any value.
    const qint64 width = qint64(window.max.x) - window.min.x + 1;
    const qint64 height = qint64(window.max.y) - window.min.y + 1;
    if (width < 1 || height < 1 || width > kMaxTexels / height) {
        return inputProblem(
            path, QStringLiteral("its size, %1x%2 texels, is not supported").arg(width).arg(height));
    }
    LightImage image{QSize(int(width), int(height)), {}};
    image.texels.reserve(size_t(width * height));
    std::vector<Imf::Rgba> row(static_cast<size_t>(width));
    // OpenEXR addresses a texel by its coordinates, which need not start at 0. With a stride of 0 every row is written here.
    file.setFrameBuffer(row.data() - window.min.x, 1, 0);
    for (int y = window.min.y; y <= window.max.y; ++y) {
        file.readPixels(y);
        for (const Imf::Rgba &texel : row) {
            image.texels.emplace_back(float(texel.r), float(texel.g), float(texel.b));
        }
    }
    return image;
}

} // namespace

bool isExrFile(const QString &path)
{
    return Imf::isOpenExrFile(QFile::encodeName(path).constData());
}

Expected<LightImage> readExr(const QString &path)
{
    try {
        return read(path);
    } catch (const std::exception &) { // from OpenEXR, whose texts are for programmers, or std::bad_alloc
        return inputProblem(path, QStringLiteral("its data are damaged, or larger than memory allows"));
    }
}

} // namespace zeltools
