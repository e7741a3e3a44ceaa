// Replaces the fuzzer in builds without one: runs the target on each seed, on its truncations up to a limit, and on
// variants with one of the first bytes changed. A fault ends the process, as with the fuzzer.

#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <cstdio>
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

QStringList filesOf(const QString &path)
{
    if (!QFileInfo(path).isDir()) {
        return {path};
    }
    QStringList files;
    for (QDirIterator it(path, QDir::Files, QDirIterator::Subdirectories); it.hasNext();) {
        files += it.next();
    }
    files.sort();
    return files;
}

bool giveFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "cannot read the seed %s\n", qPrintable(path));
        return false;
    }
    giveWithNeighbours(file.readAll());
    return true;
}

/// The paths in a list of seeds; without real files that are missing.
QStringList seedsOf(const char *list)
{
    QStringList seeds;
    QFile file(QFile::decodeName(list));
    if (!file.open(QIODevice::ReadOnly)) {
        return seeds;
    }
    const QString data = qEnvironmentVariable("ZELGL_TEST_DATA");
    for (QString line : QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts)) {
        if (!line.startsWith("@DATA@")) {
            seeds += line;
        } else if (!data.isEmpty()) {
            seeds += line.replace("@DATA@", data);
        }
    }
    return seeds;
}

} // namespace

int main(int argc, char **argv)
{
    if (LLVMFuzzerInitialize != nullptr) {
        LLVMFuzzerInitialize(&argc, &argv);
    }
    bool read = true;
    give(QByteArray());
    for (int i = 1; i < argc; ++i) {
        for (const QString &seed : seedsOf(argv[i])) {
            for (const QString &file : filesOf(seed)) {
                read = giveFile(file) && read;
            }
        }
    }
    std::printf("%d inputs\n", gInputs);
    return read && gInputs > 1 ? 0 : 1;
}
