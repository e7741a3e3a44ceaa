// Replaces the fuzzer in builds without one: runs the target on each seed, on its truncations up to a limit, and on
// variants with one of the first bytes changed. A fault ends the process, as with the fuzzer.

#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <cstdio>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int *argc, char ***argv);

namespace {

constexpr int kHead = 256; ///< limit of truncations and changed bytes

int gInputs = 0;

void give(const QByteArray &input)
{
    // A copy of exactly this size, so that a sanitizer detects reads beyond it.
    const std::vector<unsigned char> exact(input.begin(), input.end());
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
    ++gInputs;
}

void giveWithNeighbours(const QByteArray &seed)
{
    give(seed);
    const int head = qMin(kHead, seed.size());
    for (int i = 0; i < head; ++i) {
        give(seed.left(i));
        for (const unsigned char mask : {0x01, 0x80, 0xFF}) {
            QByteArray changed = seed;
            changed[i] = static_cast<char>(changed[i] ^ mask);
            give(changed);
        }
    }
}

/// The files of a seed: of a folder, or the seed itself. None of real data that are missing.
QStringList filesOf(QString seed)
{
    const QString data = qEnvironmentVariable("ZELGL_TEST_DATA");
    if (seed.startsWith("@DATA@") && data.isEmpty()) {
        return {};
    }
    seed.replace("@DATA@", data);
    QStringList files;
    for (QDirIterator it(seed, QDir::Files, QDirIterator::Subdirectories); it.hasNext();) {
        files += it.next();
    }
    files.sort();
    return QFileInfo(seed).isDir() ? files : QStringList(seed);
}

QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "cannot read %s\n", qPrintable(path));
        std::exit(1);
    }
    return file.readAll();
}

} // namespace

int main(int argc, char **argv)
{
    if (LLVMFuzzerInitialize != nullptr) {
        LLVMFuzzerInitialize(&argc, &argv);
    }
    give(QByteArray());
    for (int i = 1; i < argc; ++i) {
        for (const QString &seed : QString(bytesOf(argv[i])).split('\n', Qt::SkipEmptyParts)) {
            for (const QString &file : filesOf(seed)) {
                giveWithNeighbours(bytesOf(file));
            }
        }
    }
    std::printf("%d inputs\n", gInputs);
    return gInputs > 1 ? 0 : 1;
}
