#include "support/Files.h"

#include <ZelCore/MemoryMappedFile.h>
#include <ZelCore/RawMemory.h>

#include <QtCore/QTemporaryDir>

#include <cstring>
#include <limits>
#include <memory>
#include <sys/stat.h>

using namespace Orvane::Zel;

namespace {

constexpr char kBytes[] = "0123456789";
constexpr quint64 kSize = 10;

enum Kind { eBuffer, eFile };

/// Ten digits in memory of either kind.
class MemoryTest : public testing::TestWithParam<Kind>
{
protected:
    MemoryTest()
        : _path(writeFile(_folder.filePath("ten"), kBytes))
    {
        std::memcpy(_buffer, kBytes, kSize);
        if (GetParam() == eBuffer) {
            _memory = std::make_unique<RawMemory>(_buffer, kSize);
        } else {
            _memory = std::make_unique<MemoryMappedFile>(_path);
        }
    }

    QTemporaryDir _folder;
    QString _path;
    unsigned char _buffer[kSize];
    std::unique_ptr<Memory> _memory;
};

} // namespace

TEST_P(MemoryTest, AViewShowsItsRangeAndIsNullIfThatIsNotInside)
{
    EXPECT_EQ(kSize, _memory->size());
    const unsigned char *all = _memory->map(0, kSize);
    const unsigned char *part = _memory->map(3, 4);
    ASSERT_TRUE(all != nullptr && part != nullptr);
    EXPECT_EQ(0, std::memcmp(all, kBytes, kSize));
    EXPECT_EQ(0, std::memcmp(part, kBytes + 3, 4));
    EXPECT_NE(nullptr, _memory->map(kSize, 0)) << "an empty range at the end is inside";

    constexpr quint64 kHuge = std::numeric_limits<quint64>::max();
    EXPECT_EQ(nullptr, _memory->map(0, kSize + 1));
    EXPECT_EQ(nullptr, _memory->map(kSize, 1));
    EXPECT_EQ(nullptr, _memory->map(kSize + 1, 0));
    EXPECT_EQ(nullptr, _memory->map(5, kHuge - 4)) << "the end of the range wraps around to 0";
    EXPECT_EQ(nullptr, _memory->map(kHuge, kHuge));
}

TEST_P(MemoryTest, UnmapTakesAnyPointerIntoAViewAndWritesReachTheBufferButNeverTheFile)
{
    unsigned char *first = _memory->map(0, 4);
    unsigned char *second = _memory->map(2, 8);
    second[0] = 'x';
    _memory->unmap(first + 2);
    _memory->unmap(first + 4);
    _memory->unmap(second + 8);
    EXPECT_EQ('x', *_memory->map(2, 1)) << "a write outlives the view, until the memory ends";
    EXPECT_EQ('9', second[7]);
    _memory.reset();
    EXPECT_EQ(GetParam() == eBuffer ? 'x' : '2', _buffer[2]);
    EXPECT_EQ(QByteArray(kBytes), bytesOf(_path));
}

INSTANTIATE_TEST_SUITE_P(Kinds, MemoryTest, testing::Values(eBuffer, eFile),
                         [](const auto &kind) { return kind.param == eBuffer ? "Buffer" : "File"; });

TEST(EmptyMemoryTest, MissingAndEmptyFilesHaveNoViews)
{
    const QTemporaryDir folder;
    const QString empty = writeFile(folder.filePath("empty"), "");
    const QString pipe = folder.filePath("pipe");
    ASSERT_EQ(0, mkfifo(QFile::encodeName(pipe).constData(), 0600));
    for (const QString &path : {QString(), folder.filePath("missing"), folder.path(), empty, pipe}) {
        MemoryMappedFile file(path);
        EXPECT_EQ(0u, file.size()) << qPrintable(path);
        EXPECT_EQ(nullptr, file.map(0, 0)) << qPrintable(path);
        EXPECT_EQ(nullptr, file.map(0, 1)) << qPrintable(path);
        file.unmap(nullptr);
    }
    RawMemory nothing(nullptr, 10);
    EXPECT_EQ(0u, nothing.size());
    EXPECT_EQ(nullptr, nothing.map(0, 1));
}
