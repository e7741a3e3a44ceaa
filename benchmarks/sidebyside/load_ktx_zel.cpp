// Loads a KTX file into a texture: load_ktx_zel FILE [-runs N] [-label TEXT]. One run maps the file, uploads all levels
// with the orientation of the file, and waits for the driver. It does not include the deletion of the texture.
//
// Held constant: the file is in the page cache. Messages are discarded, as a host may do.

#include "OffscreenStage.h"
#include "SideBySide.h"

#include <ZelGL/GLUtilities.h>
#include <ZelGL/Texture.h>
#include <ZelGL/TextureIO.h>

#include <QtCore/QFileInfo>

#include <cstdio>
#include <memory>

using namespace Orvane::Zel;

int main(int argc, char **argv)
{
    constexpr int kWarmUps = 2;
    const SideBySide::Arguments arguments(argc, argv);
    const QFileInfo file(QString::fromLocal8Bit(arguments.file().c_str()));
    if (!file.isFile()) {
        std::fprintf(stderr, "usage: load_ktx_zel FILE [-runs N] [-label TEXT]\n");
        return 2;
    }
    const std::unique_ptr<OffscreenStage> stage = OffscreenStage::create(64, 64);
    if (stage == nullptr) {
        return 1;
    }
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    TextureFileInfo info;
    info.keepOrientation = true;
    const int runs = arguments.integer("-runs", 15);
    std::vector<double> milliseconds;
    for (int run = -kWarmUps; run < runs; ++run) {
        const double start = SideBySide::processCpuSeconds();
        const std::unique_ptr<Texture> texture(LoadTextureFromFile(file.filePath(), info));
        glFinish();
        const double end = SideBySide::processCpuSeconds();
        if (texture == nullptr) {
            std::fprintf(stderr, "%s cannot be loaded\n", qPrintable(file.filePath()));
            return 1;
        }
        if (run >= 0) {
            milliseconds.push_back((end - start) * 1e3);
        }
    }
    SideBySide::printResult("ktx", file.fileName().toStdString() + arguments.text("-label", ""),
                            long(file.size()), "ms", milliseconds);
    return 0;
}
