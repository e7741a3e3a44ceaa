// Decodes a Radiance picture, and loads it: read_hdr_zel FILE [-runs N].
//
// The decoder reads bytes in memory, including the header, into allocated rows. The load, "FILE:load", reads the file from
// the page cache into a texture of half floats, including allocation, upload and the work of the driver.

#include "../../src/GL/private/HDRScanlines.h"
#include "OffscreenStage.h"
#include "SideBySide.h"

#include <ZelCore/RawMemory.h>
#include <ZelGL/GLUtilities.h>
#include <ZelGL/HDRReader.h>
#include <ZelGL/Texture.h>
#include <ZelGL/TextureIO.h>

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <cstdio>
#include <functional>
#include <memory>

using namespace Orvane::Zel;

namespace {

/// The position of the first scanline, after the empty line and the line with the sizes.
const unsigned char *firstScanline(const QByteArray &file)
{
    const int resolution = file.indexOf("\n\n") + 2;
    return reinterpret_cast<const unsigned char *>(file.constData()) + file.indexOf('\n', resolution) + 1;
}

/// Decodes like the reader: the header, and then the scanlines, from the lowest row up.
bool decode(QByteArray &file, std::vector<float> &rows)
{
    const HDRReader reader(new RawMemory(reinterpret_cast<unsigned char *>(file.data()), size_t(file.size())),
                           QString());
    const size_t rowSize = size_t(reader.width()) * 3;
    rows.resize(rowSize * reader.height());
    const auto *end = reinterpret_cast<const unsigned char *>(file.constData()) + file.size();
    HDRScanlines scanlines(firstScanline(file), end, reader.width());
    for (size_t y = reader.height(); y-- > 0;) {
        if (scanlines.decode(rows.data() + y * rowSize) != HDRScanlines::eDecoded) {
            return false;
        }
    }
    return reader.valid();
}

/// Milliseconds of each run; empty if a run fails.
std::vector<double> measure(int runs, const std::function<bool()> &work)
{
    constexpr int kWarmUps = 2;
    std::vector<double> milliseconds;
    for (int run = -kWarmUps; run < runs; ++run) {
        const double start = SideBySide::processCpuSeconds();
        const bool done = work();
        const double end = SideBySide::processCpuSeconds();
        if (!done) {
            return {};
        }
        if (run >= 0) {
            milliseconds.push_back((end - start) * 1e3);
        }
    }
    return milliseconds;
}

} // namespace

int main(int argc, char **argv)
{
    const SideBySide::Arguments arguments(argc, argv);
    const QString path = QString::fromLocal8Bit(arguments.file().c_str());
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "usage: read_hdr_zel FILE [-runs N]\n");
        return 2;
    }
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    const int runs = arguments.integer("-runs", 11);
    const std::string name = QFileInfo(path).fileName().toStdString();

    QByteArray bytes = file.readAll();
    std::vector<float> rows;
    const std::vector<double> decoding = measure(runs, [&] { return decode(bytes, rows); });
    SideBySide::printResult("hdr", name, long(rows.size() / 3), "ms", decoding);

    const std::unique_ptr<OffscreenStage> stage = OffscreenStage::create(64, 64);
    std::unique_ptr<Texture> texture; // the last texture is deleted before the clock starts again
    const std::vector<double> loading = measure(stage != nullptr ? runs : 0, [&] {
        texture.reset(LoadTextureFromFile(path, TextureFileInfo()));
        glFinish();
        return texture != nullptr;
    });
    SideBySide::printResult("hdr", name + ":load", long(rows.size() / 3), "ms", loading);
    return decoding.empty() ? 1 : 0;
}
