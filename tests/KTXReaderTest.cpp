#include "support/FileMaker.h"
#include "support/GLFixture.h"
#include "support/Pixels.h"
#include "support/ReaderUnderTest.h"
#include "support/StateGuard.h"
#include "support/Tap.h"
#include "support/TextureParameter.h"

#include <ZelGL/GLUtilities.h>
#include <ZelGL/KTXReader.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QThread>
#include <QtGui/QOpenGLFunctions_3_2_Core>

using namespace Orvane::Zel;

namespace {

using Reader = ReaderUnderTest<KTXRecogniser>;
using KTXReaderTest = GLTest;
using KTXHeaderTest = MessageTest;

/// Rows of bytes, tightly packed, as four floats a texel.
Pixels fromBytes(int width, int height, int channels, const QByteArray &bytes, int rowSize)
{
    return Pixels::of(width, height, [&](int x, int y) {
        QVector4D texel(0.0f, 0.0f, 0.0f, 1.0f);
        for (int i = 0; i < channels; ++i) {
            texel[i] = float(uchar(bytes[y * rowSize + x * channels + i])) / 255.0f;
        }
        return texel;
    });
}

/// A level, a slice or a line of a texture without a format for each texel, against its bytes.
testing::AssertionResult holds(const Texture &texture, int level, int layer, int width, int height,
                               const QByteArray &bytes, int channels = 4, int rowSize = 0)
{
    return Pixels::ofTexture(texture.target(), texture.textureID(), level, layer)
        .isNear(fromBytes(width, height, channels, bytes, rowSize != 0 ? rowSize : width * channels), 1e-6f);
}

KtxFile withKeyValues(const QByteArray &block)
{
    KtxFile file;
    file.keyValues = block;
    return file.addLevel(64);
}

QString failure(const char *kind = "Texture", const char *name = "image")
{
    return QString("warning %1 %2 failed to load.").arg(kind, name);
}

} // namespace

TEST_F(KTXHeaderTest, TheShapeFollowsFromTheSizes)
{
    const auto shape = [](quint32 width, quint32 height, quint32 depth) {
        const Reader reader(KtxFile::of(width, height, depth).bytes());
        return QString("%1%2%3")
            .arg(int(reader->is1DTexture()))
            .arg(int(reader->is2DTexture()))
            .arg(int(reader->is3DTexture()));
    };
    EXPECT_EQ("100", shape(4, 0, 0));
    EXPECT_EQ("010", shape(4, 4, 0));
    EXPECT_EQ("001", shape(4, 4, 4));
    EXPECT_EQ("000", shape(0, 4, 0));
    EXPECT_EQ("000", shape(4, 0, 4));
}

TEST_F(KTXHeaderTest, TheOtherAnswersAreTheFieldsOfTheHeader)
{
    KtxFile file = KtxFile::of(3, 5, 7);
    file.arrayElements = 11;
    file.faces = 5;
    const Reader plain(file.bytes());
    ASSERT_TRUE(plain.valid());
    EXPECT_EQ((std::vector<unsigned int>{3, 5, 7, 11, 5, 1}),
              (std::vector<unsigned int>{plain->width(), plain->height(), plain->depth(), plain->arraySize(),
                                         plain->cubeFaces(), plain->mipmapLevels()}));
    EXPECT_TRUE(plain->isArrayTexture());
    EXPECT_FALSE(plain->isCubeMapTexture() || plain->hasMipMaps() || plain->isCompressed())
        << "of five faces";

    file.faces = 6;
    file.glType = 0;
    file.mipmapLevels = 0;
    const Reader other(file.bytes());
    EXPECT_TRUE(other->isCubeMapTexture() && other->isCompressed());
    EXPECT_TRUE(other->hasMipMaps()) << "levels that are made at the load count";
}

TEST_F(KTXHeaderTest, OnlyTheIdentifierIsRecognised)
{
    const QByteArray file = KtxFile().addLevel(64).bytes();
    EXPECT_EQ(nullptr, Reader(file.left(11)).get());
    EXPECT_EQ(nullptr, Reader(QByteArray(file).replace(5, 1, "2")).get());
    const Reader identifierAlone(file.left(12));
    ASSERT_NE(nullptr, identifierAlone.get());
    EXPECT_FALSE(identifierAlone->valid());
    EXPECT_EQ(0u, identifierAlone->width());
}

TEST_F(KTXHeaderTest, TheOtherByteOrderIsTurnedAroundByHalvesOfBytes)
{
    KtxFile file = KtxFile::of(0x0F, 0x0203, 0);
    file.glInternalFormat = 0x8058;
    const Reader reader(file.bytes(KtxFile::eBigEndian));
    ASSERT_TRUE(reader.valid()) << "the mark of the byte order comes over whole";
    EXPECT_EQ(0x0Fu, reader->width()) << "exact where all bytes are below 16";
    EXPECT_EQ(0x0203u, reader->height());

    file.width = 0x1234;
    EXPECT_EQ(0x0204u, Reader(file.bytes(KtxFile::eBigEndian))->width()) << "high halves are dropped";

    file.endianness = 0xDEADBEEF;
    EXPECT_FALSE(Reader(file.bytes()).valid());
}

TEST_F(KTXHeaderTest, MetadataThatEndExactlyOnTheirBlockAreInvalid)
{
    const QByteArray exact = KtxFile::entry("abc", "1234567"); // 4 + 11 bytes
    EXPECT_FALSE(Reader(withKeyValues(exact).bytes()).valid());
    EXPECT_FALSE(Reader(withKeyValues(KtxFile::entry("abc", "12345678")).bytes()).valid());

    const Reader padded(withKeyValues(KtxFile::paddedEntry("abc", "1234567")).bytes());
    ASSERT_TRUE(padded.valid());
    EXPECT_EQ(2u, padded->numMetadataEntries()) << "the padding is read as one more";
    EXPECT_EQ("abc", padded->key(0));
    EXPECT_EQ("", padded->value(0)) << "the walk stops on the NUL behind the key";
    EXPECT_FALSE(padded->value(0).isNull());
}

TEST_F(KTXHeaderTest, AValueIsTheFirstNulOrTheLastByteOfItsEntry)
{
    // Without a NUL inside: the last byte, and the text that goes on from there.
    const QByteArray entry("\4\0\0\0wxyz", 8);
    const Reader reader(withKeyValues(entry + QByteArray("\0\0\0\0", 4) + "!").bytes());
    ASSERT_TRUE(reader.valid());
    EXPECT_EQ("wxyz", reader->key(0));
    EXPECT_EQ("z", reader->value(0));
    EXPECT_EQ(reader->rawKey(0) + 3, reader->rawValue(0));
    EXPECT_EQ(reader->rawKey(1), reader->rawValue(1)) << "of an entry of no bytes";
}

TEST_F(KTXHeaderTest, TextsThatLeaveTheFileAreNull)
{
    KtxFile file;
    file.keyValues = QByteArray("\xFF\0\0\0endless", 11); // its size leads far beyond the end
    const Reader reader(file.bytes());
    ASSERT_TRUE(reader.valid()) << "the walk did not stop on the end";
    ASSERT_EQ(1u, reader->numMetadataEntries());
    EXPECT_EQ(nullptr, reader->rawKey(0));
    EXPECT_EQ(nullptr, reader->rawValue(0));
    EXPECT_TRUE(reader->key(0).isNull());
    EXPECT_EQ(nullptr, reader->rawKey(1)) << "there is no such entry";
    EXPECT_EQ(nullptr, reader->rawValue(1));
}

TEST_F(KTXHeaderTest, ABlockThatTheFileDoesNotHoldEndsTheWalk)
{
    KtxFile file = withKeyValues(KtxFile::paddedEntry("key", "1234"));
    const QByteArray bytes = file.bytes();
    const QByteArray cut = bytes.left(64 + 4 + 8 + 3); // in the middle of what would be the next size
    const Reader reader(QByteArray(cut).replace(60, 4, QByteArray("\xFF\xFF\xFF\x7F", 4)));
    ASSERT_TRUE(reader.valid());
    EXPECT_EQ(1u, reader->numMetadataEntries());
    EXPECT_EQ("key", reader->key(0));
    EXPECT_EQ(nullptr, reader.load(asInFile()));

    EXPECT_TRUE(Reader(bytes.left(64)).valid()) << "none of the block is there";
    EXPECT_EQ(0u, Reader(bytes.left(64))->numMetadataEntries());
}

TEST_F(KTXReaderTest, LevelsAreUploadedFromTheLargestAndTheStateIsRestored)
{
    KtxFile file;
    file.mipmapLevels = 3;
    file.addLevel(64).addLevel(16).addLevel(4);
    driver()->glPixelStorei(GL_UNPACK_ALIGNMENT, 2);
    const Reader reader(file.bytes());
    const StateGuard guard;
    const auto texture = reader.load(asInFile());
    ASSERT_NE(nullptr, texture);
    EXPECT_EQ(QStringList(), guard.changes().filter("UNPACK") + guard.changes().filter("TEXTURE_BINDING"));
    EXPECT_EQ(GLenum(GL_TEXTURE_2D), texture->target());
    EXPECT_FALSE(texture->isBound());
    for (int level = 0, side = 4; level < 3; ++level, side /= 2) {
        EXPECT_TRUE(holds(*texture, level, 0, side, side, file.levels[level].data));
    }
    EXPECT_EQ((std::vector<GLint>{GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR, GL_REPEAT, GL_REPEAT, 0, 2}),
              samplingOf(*texture))
        << "no wrap mode is set";
    EXPECT_EQ(4, texture->dimensionLevelSize(4, 0)) << "the size is on record";
    EXPECT_EQ(0, texture->dimensionLevelSize(4, 3));
    driver()->glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
}

TEST_F(KTXReaderTest, ALevelCountOfOneHasTheMipmapFilterAndOfNoneTheLinearOne)
{
    KtxFile file;
    file.addLevel(64);
    const auto one = Reader(file.bytes()).load(asInFile());
    EXPECT_EQ(0, textureParameter(*one, GL_TEXTURE_MAX_LEVEL));
    EXPECT_EQ(GL_LINEAR_MIPMAP_LINEAR, textureParameter(*one, GL_TEXTURE_MIN_FILTER));

    file.mipmapLevels = 0;
    const auto generated = Reader(file.bytes()).load(asInFile());
    EXPECT_MESSAGES(
        "warning Generating Mipmaps. For increased loading performance, include these in the .ktx file.");
    EXPECT_EQ(GL_LINEAR, textureParameter(*generated, GL_TEXTURE_MIN_FILTER));
    EXPECT_EQ(GL_LINEAR, textureParameter(*generated, GL_TEXTURE_MAG_FILTER));
    EXPECT_EQ(1, levelParameter(*generated, 2, GL_TEXTURE_WIDTH));
}

TEST_F(KTXReaderTest, RowsArePaddedToFourBytesAndTheLastOneNeedsNoPadding)
{
    KtxFile file = KtxFile::of(3, 2, 0, GL_RGB8, GL_RGB);
    file.levels = {{21, rampBytes(21)}}; // 9 + 3 + 9
    const auto texture = Reader(file.bytes()).load(asInFile());
    ASSERT_NE(nullptr, texture);
    EXPECT_TRUE(holds(*texture, 0, 0, 3, 2, file.levels[0].data, 3, 12));

    file.levels[0].data.chop(1);
    EXPECT_EQ(nullptr, Reader(file.bytes()).load(asInFile()));
    EXPECT_MESSAGES(failure());
}

TEST_F(KTXReaderTest, FacesOfACubeStandInStridesOfWholeWords)
{
    KtxFile file = KtxFile::of(1, 1, 0, GL_RGB16, GL_RGB, GL_UNSIGNED_SHORT);
    file.faces = 6;
    file.mipmapLevels = 1;
    file.addLevel(6, 6); // strides of 8
    ASSERT_EQ(48, file.levels[0].data.size());
    const auto texture = Reader(file.bytes()).load(asInFile());
    ASSERT_NE(nullptr, texture);
    EXPECT_EQ(GLenum(GL_TEXTURE_CUBE_MAP), texture->target());
    for (int face = 0; face < 6; ++face) {
        quint16 texel[3];
        memcpy(texel, file.levels[0].data.constData() + 8 * face, sizeof(texel));
        const QVector4D expected(texel[0] / 65535.0f, texel[1] / 65535.0f, texel[2] / 65535.0f, 1.0f);
        EXPECT_TRUE(Pixels::ofTexture(GL_TEXTURE_CUBE_MAP, texture->textureID(), 0, face)
                        .isNear(0, 0, expected, 1e-5f))
            << "face " << face;
    }
}

TEST_F(KTXReaderTest, LinesAndVolumesHaveTargetsOfTheirOwn)
{
    KtxFile line = KtxFile::of(4, 0, 0);
    line.mipmapLevels = 2;
    line.addLevel(16).addLevel(8);
    const auto texture1D = Reader(line.bytes()).load(asInFile());
    ASSERT_NE(nullptr, texture1D);
    EXPECT_EQ(GLenum(GL_TEXTURE_1D), texture1D->target());
    EXPECT_TRUE(holds(*texture1D, 1, 0, 2, 1, line.levels[1].data));

    KtxFile volume = KtxFile::of(2, 2, 2);
    volume.mipmapLevels = 2;
    volume.addLevel(32).addLevel(4);
    const auto texture3D = Reader(volume.bytes()).load(asInFile());
    ASSERT_NE(nullptr, texture3D);
    EXPECT_EQ(GLenum(GL_TEXTURE_3D), texture3D->target());
    for (int slice = 0; slice < 2; ++slice) {
        EXPECT_TRUE(holds(*texture3D, 0, slice, 2, 2, volume.levels[0].data.mid(16 * slice)));
    }
}

TEST_F(KTXReaderTest, OnlyTheThreeEtc2FormatsHaveAnSrgbForm)
{
    const auto formatOf = [](quint32 internalFormat, bool srgb, int size) {
        KtxFile file = KtxFile::compressed(4, 4, internalFormat);
        TextureFileInfo info = asInFile();
        info.srgb = srgb;
        const Tap<&glCompressedTexImage2D> uploads;
        Reader(file.addLevel(size).bytes()).load(info);
        return uploads.last<2>();
    };
    EXPECT_EQ(GLenum(GL_COMPRESSED_SRGB8_ETC2), formatOf(GL_COMPRESSED_RGB8_ETC2, true, 8));
    EXPECT_EQ(GLenum(GL_COMPRESSED_SRGB8_PUNCHTHROUGH_ALPHA1_ETC2),
              formatOf(GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2, true, 8));
    EXPECT_EQ(GLenum(GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC), formatOf(GL_COMPRESSED_RGBA8_ETC2_EAC, true, 16));
    EXPECT_EQ(GLenum(GL_COMPRESSED_RGBA8_ETC2_EAC), formatOf(GL_COMPRESSED_RGBA8_ETC2_EAC, false, 16));
    EXPECT_EQ(GLenum(GL_COMPRESSED_RGBA_BPTC_UNORM), formatOf(GL_COMPRESSED_RGBA_BPTC_UNORM, true, 16));
}

TEST_F(KTXReaderTest, AnisotropyIsWhatTheDriverHasAtMost)
{
    KtxFile file;
    const QByteArray mipmapped = file.addLevel(64).bytes();
    file.mipmapLevels = 0;
    const QByteArray generated = file.bytes();
    const auto anisotropyOf = [](const QByteArray &bytes, int wanted) {
        TextureFileInfo info = asInFile();
        info.anisotropy = wanted;
        return textureParameter(*Reader(bytes).load(info), GL_TEXTURE_MAX_ANISOTROPY);
    };
    GLint most = 1;
    if (hasGLExtension("GL_EXT_texture_filter_anisotropic")) {
        driver()->glGetIntegerv(GL_MAX_TEXTURE_MAX_ANISOTROPY, &most);
    }
    EXPECT_EQ(1, anisotropyOf(mipmapped, 0));
    EXPECT_EQ(qMin(2, most), anisotropyOf(mipmapped, 2));
    EXPECT_EQ(most, anisotropyOf(mipmapped, 1000));
    EXPECT_EQ(1, anisotropyOf(generated, 1000)) << "never without levels in the file";
    EXPECT_MESSAGES(
        "warning Generating Mipmaps. For increased loading performance, include these in the .ktx file.");
}

TEST_F(KTXReaderTest, WithoutTheOrientationOfTheFileImagesAreRemappedFlippedAndUncompressed)
{
    KtxFile file = KtxFile::compressed(4, 8, GL_COMPRESSED_RED_RGTC1);
    file.levels = {{16, QByteArray("\xFF\xFF\0\0\0\0\0\0", 8) + QByteArray(8, '\0')}}; // white below black
    TextureFileInfo info;
    info.lowValue = 0.25f;
    info.highValue = 0.75f;
    const auto texture = Reader(file.bytes()).load(info);
    ASSERT_NE(nullptr, texture);
    const Pixels pixels = Pixels::ofTexture(GL_TEXTURE_2D, texture->textureID());
    EXPECT_TRUE(pixels.isNear(0, 0, {0.25f, 0.25f, 0.25f, 1.0f}, 0.01f));
    EXPECT_TRUE(pixels.isNear(3, 7, {0.75f, 0.25f, 0.25f, 1.0f}, 0.01f));
    EXPECT_EQ(GL_FALSE, levelParameter(*texture, 0, GL_TEXTURE_COMPRESSED));
}

TEST_F(KTXReaderTest, ArraysAreRefused)
{
    KtxFile file;
    file.arrayElements = 1;
    file.addLevel(64);
    EXPECT_EQ(nullptr, Reader(file.bytes()).load(asInFile()));
    EXPECT_MESSAGES("warning Array textures not supported yet, sorry!");
    file.faces = 6;
    EXPECT_EQ(nullptr, Reader(file.bytes()).load(asInFile()));
    EXPECT_MESSAGES("warning Cubemap arrays not supported yet, sorry!");
}

TEST_F(KTXReaderTest, WhatGLRefusesLeavesNothingBehind)
{
    KtxFile file;
    file.glInternalFormat = 0x1234;
    file.addLevel(64);
    const StateGuard guard;
    EXPECT_EQ(nullptr, Reader(file.bytes()).load(asInFile()));
    EXPECT_MESSAGES(failure());
    file.glType = 0;
    EXPECT_EQ(nullptr, Reader(file.bytes(), QString()).load(asInFile()));
    EXPECT_MESSAGES(failure("Compressed texture", "<unnamed>"));
    EXPECT_EQ(0, Texture::NumAlive());
    EXPECT_EQ(0, ledger().alive());
    EXPECT_EQ(QStringList(), guard.changes().filter("UNPACK") + guard.changes().filter("TEXTURE_BINDING"));
    EXPECT_EQ(2, TestContext::takeDriverReports().size()) << "and nothing else was refused";
}

TEST_F(KTXReaderTest, AFileWithoutShapeUploadsNothing)
{
    const Tap<&glTexImage2D> uploads;
    EXPECT_EQ(nullptr, Reader(KtxFile::of(0, 4, 0).addLevel(0).bytes()).load(asInFile()));
    EXPECT_EQ(0u, uploads.count());
    const AssertionsOf asserted("Texture.cpp");
    EXPECT_MESSAGES(asserted("0u != this->_target", "Texture Target is not set on bind"),
                    asserted("0u != this->_target", "Texture Target is not set on unbind"), failure());
    EXPECT_EQ(4, TestContext::takeDriverReports().size()) << "of parameters for no target";
}

TEST_F(KTXReaderTest, DataThatEndEarlyAreNeverGivenToGL)
{
    KtxFile file;
    file.mipmapLevels = 2;
    const QByteArray bytes = file.addLevel(64).addLevel(16).bytes();
    Tap<&glTexImage2D> uploads;
    for (const int missing : {1, 16, 17, 20}) { // within the second level, and within its size
        EXPECT_EQ(nullptr, Reader(bytes.left(bytes.size() - missing)).load(TextureFileInfo()));
        EXPECT_MESSAGES(failure());
        EXPECT_EQ(1u, uploads.count());
        uploads.clear();
    }
    EXPECT_EQ(nullptr, Reader(bytes.left(64)).load(asInFile())) << "no data at all; there is no message";
}

TEST_F(KTXReaderTest, AnImageSizeBelowWhatGLReadsDoesAsLongAsTheBytesAreThere)
{
    KtxFile file = KtxFile::of(4, 4, 0);
    file.levels = {{10, rampBytes(64)}};
    const auto texture = Reader(file.bytes()).load(asInFile());
    ASSERT_NE(nullptr, texture);
    EXPECT_TRUE(holds(*texture, 0, 0, 4, 4, file.levels[0].data));

    file.levels[0].imageSize = 0xFFFFFFFF; // leads beyond the end, where nothing is read any more
    EXPECT_NE(nullptr, Reader(file.bytes()).load(asInFile()));
    file.glType = file.glFormat = 0;
    EXPECT_EQ(nullptr, Reader(file.bytes()).load(asInFile()))
        << "but GL would read a compressed image of that size";
    EXPECT_MESSAGES(failure("Compressed texture"));
}

TEST_F(KTXReaderTest, SizesBeyondAllMemoryAndEndlessLevelsFail)
{
    KtxFile huge = KtxFile::of(0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF);
    huge.addLevel(64);
    EXPECT_EQ(nullptr, Reader(huge.bytes()).load(asInFile()));
    huge.glType = huge.glFormat = 0x7777; // nobody knows these, so the largest texel counts
    EXPECT_EQ(nullptr, Reader(huge.bytes()).load(asInFile()));
    // In 32 bits its blocks take the 64 bytes that are there.
    KtxFile wide = KtxFile::compressed(0x20000008, 8, GL_COMPRESSED_RGBA8_ETC2_EAC);
    EXPECT_EQ(nullptr, Reader(wide.addLevel(64).bytes()).load(asInFile()));
    EXPECT_MESSAGES(failure(), failure(), failure("Compressed texture"));

    KtxFile endless;
    endless.mipmapLevels = 0xFFFFFFFF;
    for (int level = 0; level < 40; ++level) {
        endless.levels += KtxFile::Level{0, QByteArray()};
    }
    endless.levels += KtxFile::Level{0, rampBytes(64)};
    EXPECT_EQ(nullptr, Reader(endless.bytes()).load(asInFile()));
    EXPECT_MESSAGES(failure());
    takeGLErrors();
}

namespace {

/// A thread that asks its loads to pause a number of times, and counts how often it is looked at.
class PausingThread : public QThread
{
    Q_OBJECT
    Q_PROPERTY(bool threadPauseRequested READ isPauseRequested)

public:
    explicit PausingThread(const std::function<void()> &work)
        : _work(work)
    {
    }

    bool isPauseRequested() { return ++looks <= pauses; }

    int pauses = 0;
    int looks = 0;

protected:
    void run() override { _work(); }

private:
    std::function<void()> _work;
};

} // namespace

TEST_F(KTXReaderTest, ALoadPausesAsLongAsItsThreadIsAskedTo)
{
    KtxFile file;
    file.mipmapLevels = 3;
    const Reader reader(file.addLevel(64).addLevel(16).addLevel(4).bytes());
    std::unique_ptr<TestContext> own = TestContext::create();
    own->doneCurrent();
    std::unique_ptr<Texture> texture;
    PausingThread thread([&] {
        own->makeCurrent();
        texture = reader.load(asInFile());
        texture.reset();
        own->doneCurrent();
        own->context()->moveToThread(QCoreApplication::instance()->thread());
    });
    own->context()->moveToThread(&thread);
    thread.pauses = 2;
    thread.start();
    thread.wait();
    EXPECT_EQ(2 + 2 * 3, thread.looks) << "twice for each level, and once more for each pause";
    makeCurrent();
}

#include "KTXReaderTest.moc"
