// The text processor on a tree of includes: preprocess_zel FOLDER [-runs N] expands main.glslc of the folder.
//
// Held constant: every file, including the first one, is read in each run, and nothing is cached between runs.

#include "SideBySide.h"

#include <ZelGL/GLSLMacroProcessor.h>

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <cstdio>

using namespace Orvane::Zel;

namespace {

QString read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

int main(int argc, char **argv)
{
    constexpr int kWarmUps = 2;
    const SideBySide::Arguments arguments(argc, argv);
    const QDir folder(QString::fromLocal8Bit(arguments.file().c_str()));
    const QString main = folder.filePath("main.glslc");
    if (!QFile::exists(main)) {
        std::fprintf(stderr, "usage: preprocess_zel FOLDER [-runs N], with main.glslc in the folder\n");
        return 1;
    }
    const int runs = arguments.integer("-runs", 31);
    std::vector<double> microseconds;
    int size = 0;
    for (int run = -kWarmUps; run < runs; ++run) {
        const double start = SideBySide::processCpuSeconds();
        GLSLMacroProcessor processor;
        processor.addIncludePath(folder.path());
        size = GLSLMacroProcessor::process(read(main), &processor).size();
        const double end = SideBySide::processCpuSeconds();
        if (run >= 0) {
            microseconds.push_back((end - start) * 1e6);
        }
    }
    SideBySide::printResult("preprocess", "tree", size, "us", microseconds);
    return 0;
}
