#include "SnippetsTest.h"

#include "support/FileMaker.h"
#include "support/Files.h"

#include <ZelCore/MemoryMappedFile.h>
#include <ZelCore/RawMemory.h>
#include <ZelGL/ASTCReader.h>
#include <ZelGL/AutoBinder.h>
#include <ZelGL/GLUtilities.h>
#include <ZelGL/HDRReader.h>
#include <ZelGL/KTXReader.h>
#include <ZelGL/TextureIO.h>

#include <QtGui/QColor>

#include <memory>

using namespace Orvane::Zel;

namespace {

//! [TextureLoader2DHelper]
/// The reader of a format of one grey pixel: its magic number "GREY" and a byte.
class GreyReader : public TextureLoader2DHelper
{
public:
    explicit GreyReader(Memory *memory)
        : _memory(memory)
    {
    }

    bool valid() const override { return _memory->size() == 5; }
    unsigned int width() const override { return 1; }
    unsigned int height() const override { return 1; }

    Texture *load(const TextureFileInfo &) override
    {
        const float grey = float(*_memory->map(4, 1)) / 255.0f;
        return SolidColorTexture(grey, grey, grey, 1.0f);
    }

private:
    std::unique_ptr<Memory> _memory;
};
//! [TextureLoader2DHelper]

//! [TextureRecogniser]
class GreyRecogniser : public TextureRecogniser
{
public:
    TextureLoader *recognise(Memory *memory, const QString &) const override
    {
        const unsigned char *magic = memory->map(0, 4);
        const bool isGrey = magic != nullptr && memcmp(magic, "GREY", 4) == 0;
        return isGrey ? new GreyReader(memory) : nullptr; // a reader owns the memory
    }
};

void registerFormats()
{
    RegisterTextureRecogniser(new GreyRecogniser, "grey"); // the list of the library owns it
}
//! [TextureRecogniser]

ExpectedMessage isLoaded(const QString &path)
{
    return startsWith("debug Texture " + path + " loaded in ");
}

} // namespace

TEST_F(SnippetsTest, TextureIO)
{
    const QString path = writeImage("wood.png", QColor(255, 51, 0));
    //! [TextureIO]
    const std::unique_ptr<Texture> wood(LoadTextureFromFile(path, TextureFileInfo()));
    if (wood != nullptr) { // else the log says why
        const AutoBinder binder(wood.get());
        glTexParameteri(wood->target(), GL_TEXTURE_WRAP_S, GL_REPEAT); // PNG and HDR are clamped at first
    }
    //! [TextureIO]
    ASSERT_NE(nullptr, wood);
    EXPECT_EQ(GL_REPEAT, textureParameter(*wood, GL_TEXTURE_WRAP_S));
    EXPECT_TRUE(pixelsOf(*wood).isNear(3, 3, {1.0f, 0.2f, 0.0f, 1.0f}, 0.001f));
    EXPECT_MESSAGES(isLoaded(path));
}

TEST_F(SnippetsTest, TextureFileInfo)
{
    const QString path = writeImage("wood.png", QColor(255, 51, 0));
    //! [TextureFileInfo]
    TextureFileInfo info;
    info.srgb = true; // a picture for the eye, not a table of data
    info.anisotropy = 8;
    const std::unique_ptr<Texture> wood(LoadTextureFromFile(path, info));
    //! [TextureFileInfo]
    ASSERT_NE(nullptr, wood);
    const AutoBinder binder(wood.get());
    EXPECT_EQ(GL_SRGB8_ALPHA8, wood->internalFormat(0));
    EXPECT_MESSAGES(isLoaded(path));
}

TEST_F(SnippetsTest, TextureLoader)
{
    const QString path = writeFile(pathTo("wood.ktx"), KtxFile::of(8, 4).addLevel(128).bytes());
    QString about;
    std::unique_ptr<Texture> texture;
    //! [TextureLoader]
    const std::unique_ptr<TextureLoader> loader(IdentifyTextureFromFile(path));
    if (loader != nullptr && loader->valid()) { // a file of a registered format
        about = QString("%1 x %2").arg(loader->width()).arg(loader->height());
        texture.reset(loader->load(TextureFileInfo()));
    }
    //! [TextureLoader]
    EXPECT_EQ("8 x 4", about);
    EXPECT_NE(nullptr, texture);
}

TEST_F(SnippetsTest, TextureLoader2DHelper)
{
    QByteArray bytes("GREY\x33");
    GreyReader reader(new RawMemory(reinterpret_cast<unsigned char *>(bytes.data()), 5));
    EXPECT_TRUE(reader.valid());
    EXPECT_TRUE(reader.is2DTexture());
    const std::unique_ptr<Texture> texture(reader.load(TextureFileInfo()));
    EXPECT_TRUE(pixelsOf(*texture).isNear(0, 0, {0.2f, 0.2f, 0.2f, 1.0f}, 0.001f));
}

TEST_F(SnippetsTest, TextureRecogniser)
{
    registerFormats();
    const QString path = writeFile(pathTo("a.grey"), "GREY\xFF");
    const std::unique_ptr<Texture> texture(LoadTextureFromFile(path, TextureFileInfo()));
    ASSERT_NE(nullptr, texture);
    EXPECT_TRUE(pixelsOf(*texture).isNear(0, 0, {1, 1, 1, 1}, 0));
    EXPECT_MESSAGES(isLoaded(path));
}

TEST_F(SnippetsTest, KTXRecogniser)
{
    const QString path = writeFile(pathTo("wood.ktx"), KtxFile().addLevel(64).bytes());
    //! [KTXRecogniser]
    auto memory = std::make_unique<MemoryMappedFile>(path);
    const std::unique_ptr<TextureLoader> reader(KTXRecogniser().recognise(memory.get(), path));
    if (reader != nullptr) {
        memory.release(); // the reader owns it now
    }
    //! [KTXRecogniser]
    ASSERT_NE(nullptr, reader);
    EXPECT_EQ(4u, reader->width());
}

TEST_F(SnippetsTest, KTXReader)
{
    KtxFile file;
    file.keyValues = KtxFile::paddedEntry("KTXorientation", "S=r,T=d");
    const QString path = writeFile(pathTo("wood.ktx"), file.addLevel(64).bytes());
    QStringList keys;
    std::unique_ptr<Texture> texture;
    //! [KTXReader]
    KTXReader reader(new MemoryMappedFile(path), path); // owns the file
    if (reader.valid()) {
        for (unsigned int i = 0; i < reader.numMetadataEntries(); ++i) {
            keys += reader.key(i);
        }
        TextureFileInfo info;
        info.keepOrientation = true; // rows and compression as in the file
        texture.reset(reader.load(info));
    }
    //! [KTXReader]
    EXPECT_EQ("KTXorientation", keys.value(0));
    ASSERT_NE(nullptr, texture);
    EXPECT_EQ(4, levelParameter(*texture, 0, GL_TEXTURE_WIDTH));
}

TEST_F(SnippetsTest, HDRRecogniser)
{
    //! [HDRRecogniser]
    // For a host that reads environment images of this one format.
    DeleteAllRegisteredTextureRecognisers();
    RegisterTextureRecogniser(new HDRRecogniser, "hdr");
    //! [HDRRecogniser]
    RegisterTextureRecogniser(new ASTCRecogniser, "astc");
    const auto isIdentified = [this](const char *name, const QByteArray &bytes) {
        const std::unique_ptr<TextureLoader> loader(IdentifyTextureFromFile(writeFile(pathTo(name), bytes)));
        return loader != nullptr;
    };
    EXPECT_TRUE(isIdentified("sky.hdr", HdrFile(1, 1).bytes()));
    EXPECT_FALSE(isIdentified("wood.ktx", KtxFile().addLevel(64).bytes()));
    RegisterTextureRecogniser(new KTXRecogniser, "ktx");
}

TEST_F(SnippetsTest, HDRReader)
{
    HdrFile file(2, 1);
    file.scanlines = HdrFile::flat({{128, 64, 0, 129}, {128, 64, 0, 132}});
    const QString path = writeFile(pathTo("sky.hdr"), file.bytes());
    std::unique_ptr<Texture> sky;
    //! [HDRReader]
    HDRReader reader(new MemoryMappedFile(path), path); // owns the file
    if (reader.valid()) {
        sky.reset(reader.load(TextureFileInfo())); // half floats, in the unit of the file
    }
    //! [HDRReader]
    ASSERT_NE(nullptr, sky);
    EXPECT_TRUE(pixelsOf(*sky).isNear(0, 0, {1.0f, 0.5f, 0.0f, 1.0f}, 0.01f));
    EXPECT_TRUE(pixelsOf(*sky).isNear(1, 0, {8.0f, 4.0f, 0.0f, 1.0f}, 0.05f));
}

TEST_F(SnippetsTest, ASTCRecogniser)
{
    //! [ASTCRecogniser]
    // Files with a suffix of the host's own are tried as ASTC first.
    RegisterTextureRecogniser(new ASTCRecogniser, "blocks");
    //! [ASTCRecogniser]
    const QString path = writeFile(pathTo("wood.BLOCKS"), AstcFile().addBlocks().bytes());
    const std::unique_ptr<TextureLoader> loader(IdentifyTextureFromFile(path));
    ASSERT_NE(nullptr, loader);
    EXPECT_TRUE(loader->isCompressed());
}

TEST_F(SnippetsTest, ASTCReader)
{
    const QString path = writeFile(pathTo("wood.astc"), AstcFile().addBlocks().bytes());
    std::unique_ptr<Texture> wood;
    //! [ASTCReader]
    ASTCReader reader(new MemoryMappedFile(path), path); // owns the file
    if (reader.valid() && hasGLExtension("GL_KHR_texture_compression_astc_ldr")) {
        wood.reset(reader.load(TextureFileInfo()));
    }
    //! [ASTCReader]
    if (!hasGLExtension("GL_KHR_texture_compression_astc_ldr")) {
        GTEST_SKIP() << "Needs GL_KHR_texture_compression_astc_ldr";
    }
    ASSERT_NE(nullptr, wood);
    EXPECT_TRUE(pixelsOf(*wood).isNear(0, 0, {0.0f, 1.0f, 0.5f, 1.0f}, 0.01f));
}
