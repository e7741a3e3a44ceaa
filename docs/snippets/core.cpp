#include "SnippetsTest.h"

#include "support/Files.h"

#include <ZelCore/MemoryMappedFile.h>
#include <ZelCore/RawMemory.h>
#include <ZelCore/Resources.h>

#include <QtCore/QDir>

using namespace Orvane::Zel;

namespace {

//! [Memory]
/// The first four bytes, by which most formats are recognised; empty for a shorter source.
QByteArray magicOf(Memory &memory)
{
    const unsigned char *view = memory.map(0, 4);
    if (view == nullptr) {
        return QByteArray();
    }
    const QByteArray magic(reinterpret_cast<const char *>(view), 4);
    memory.unmap(view);
    return magic;
}
//! [Memory]

} // namespace

TEST_F(SnippetsTest, Memory)
{
    QByteArray bytes("GLB!rest");
    RawMemory memory(reinterpret_cast<unsigned char *>(bytes.data()), 8);
    EXPECT_EQ("GLB!", magicOf(memory));
    RawMemory shortMemory(reinterpret_cast<unsigned char *>(bytes.data()), 3);
    EXPECT_EQ("", magicOf(shortMemory));
}

TEST_F(SnippetsTest, MemoryMappedFile)
{
    const QString path = writeFile(pathTo("mesh.bin"), QByteArray("\0\0\0\0\x07\0\0\0", 8));
    quint32 vertexCount = 0;
    //! [MemoryMappedFile]
    MemoryMappedFile file(path);
    const unsigned char *header = file.map(4, sizeof vertexCount);
    if (header == nullptr) {
        qWarning("%s is missing or too short", qPrintable(path));
    } else {
        memcpy(&vertexCount, header, sizeof vertexCount);
        file.unmap(header);
    }
    //! [MemoryMappedFile]
    EXPECT_EQ(7u, vertexCount);
}

TEST_F(SnippetsTest, RawMemory)
{
    //! [RawMemory]
    QByteArray download("#?RADIANCE\n..."); // must outlive the view
    RawMemory memory(reinterpret_cast<unsigned char *>(download.data()),
                     static_cast<unsigned long>(download.size()));
    const unsigned char *firstLine = memory.map(0, 10);
    //! [RawMemory]
    ASSERT_NE(nullptr, firstLine);
    EXPECT_EQ("#?RADIANCE", QByteArray(reinterpret_cast<const char *>(firstLine), 10));
}

TEST_F(SnippetsTest, Resources)
{
    //! [Resources]
    // The GLSL files that the library reads instead of its built-in ones.
    const QDir shaders(resourcesPath() + "/GLSL/src");
    for (const QString &name : shaders.entryList(QDir::Files)) {
        qInfo("replaces :/GLSL/src/%s", qPrintable(name));
    }
    //! [Resources]
    EXPECT_TRUE(_capture.takeTexts().contains("info replaces :/GLSL/src/passthroughVS.glslc"));
}
