#include "support/FileMaker.h"
#include "support/GLFixture.h"
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

const QString kGenerating =
    "warning Generating Mipmaps. For increased loading performance, include these in the .ktx file.";

std::unique_ptr<Texture> load(const KtxFile &file)
{
    return Reader(file.bytes()).load(asInFile());
}

/// Compares a level, a slice or a line of a texture of bytes with its rows.
testing::AssertionResult holds(const Texture &texture, int level, int layer, int width, int height,
                               const QByteArray &bytes, int channels = 4, int rowSize = 0)
{
    const Pixels expected = Pixels::of(width, height, [&](int x, int y) {
        QVector4D texel(0.0f, 0.0f, 0.0f, 1.0f);
        for (int i = 0; i < channels; ++i) {
            const int row = y * (rowSize != 0 ? rowSize : width * channels);
            texel[i] = float(uchar(bytes[row + x * channels + i])) / 255.0f;
        }
        return texel;
    });
    return pixelsOf(texture, level, layer).isNear(expected, 1e-6f);
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

TEST_F(KTXHeaderTest, TheAnswersFollowFromTheFieldsOfTheHeader)
{
    const auto shape = [](quint32 width, quint32 height, quint32 depth) {
        const Reader reader(KtxFile::of(width, height, depth).bytes());
        return std::vector<bool>{reader->is1DTexture(), reader->is2DTexture(), reader->is3DTexture()};
    };
    EXPECT_EQ((std::vector<bool>{true, false, false}), shape(4, 0, 0));
    EXPECT_EQ((std::vector<bool>{false, true, false}), shape(4, 4, 0));
    EXPECT_EQ((std::vector<bool>{false, false, true}), shape(4, 4, 4));
    EXPECT_EQ(std::vector<bool>(3, false), shape(0, 4, 0));
    EXPECT_EQ(std::vector<bool>(3, false), shape(4, 0, 4));

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
    KtxFile file = KtxFile::of(0x0F, 0x1203, 0);
    const Reader reader(file.bytes(KtxFile::eBigEndian));
    ASSERT_TRUE(reader.valid()) << "the mark of the byte order comes over whole";
    EXPECT_EQ(0x0Fu, reader->width()) << "exact where all bytes are below 16";
    EXPECT_EQ(0x0203u, reader->height()) << "high halves are dropped";

    file.endianness = 0xDEADBEEF;
    EXPECT_FALSE(Reader(file.bytes()).valid());
}

TEST_F(KTXHeaderTest, MetadataThatEndExactlyOnTheirBlockAreInvalid)
{
    EXPECT_FALSE(Reader(withKeyValues(KtxFile::entry("abc", "1234567")).bytes()).valid()); // 4 + 11 bytes
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
    // Without a NUL in the entry: the last byte, and the text that starts there.
    const QByteArray entry("\4\0\0\0wxyz", 8);
    const Reader reader(withKeyValues(entry + QByteArray("\0\0\0\0", 4) + "!").bytes());
    ASSERT_TRUE(reader.valid());
    EXPECT_EQ("wxyz", reader->key(0));
    EXPECT_EQ("z", reader->value(0));
    EXPECT_EQ(reader->rawKey(0) + 3, reader->rawValue(0));
    EXPECT_EQ(reader->rawKey(1), reader->rawValue(1)) << "of an entry of no bytes";
}

TEST_F(KTXHeaderTest, MetadataThatLeaveTheFileEndTheWalkAndTheirTextsAreNull)
{
    KtxFile file;
    file.keyValues = QByteArray("\xFF\0\0\0endless", 11); // its size points far beyond the end
    const Reader endless(file.bytes());
    ASSERT_TRUE(endless.valid()) << "the walk did not stop on the end";
    ASSERT_EQ(1u, endless->numMetadataEntries());
    for (const unsigned int index : {0, 1}) { // the second does not exist
        EXPECT_EQ(nullptr, endless->rawKey(index));
        EXPECT_EQ(nullptr, endless->rawValue(index));
    }
    EXPECT_TRUE(endless->key(0).isNull());

    QByteArray cut = withKeyValues(KtxFile::paddedEntry("key", "1234")).bytes().left(64 + 4 + 8 + 3);
    cut.replace(60, 4, QByteArray("\xFF\xFF\xFF\x7F", 4)); // the file ends within the next size
    const Reader reader(cut);
    ASSERT_TRUE(reader.valid());
    EXPECT_EQ(1u, reader->numMetadataEntries());
    EXPECT_EQ("key", reader->key(0));
    EXPECT_EQ(nullptr, reader.load(asInFile()));

    const Reader nothing(cut.left(64));
    EXPECT_TRUE(nothing.valid());
    EXPECT_EQ(0u, nothing->numMetadataEntries());
}

TEST_F(KTXReaderTest, LevelsAreUploadedFromTheLargestAndTheStateIsRestored)
{
    KtxFile file;
    file.mipmapLevels = 3;
    file.addLevel(64).addLevel(16).addLevel(4);
    driver()->glPixelStorei(GL_UNPACK_ALIGNMENT, 2);
    const StateGuard guard;
    driver()->glEnable(GL_NONE); // an error of the host, not of the load
    const auto texture = load(file);
    EXPECT_EQ(1, TestContext::takeDriverReports().size());
    ASSERT_NE(nullptr, texture);
    EXPECT_EQ(QStringList(), guard.changes().filter("UNPACK") + guard.changes().filter("TEXTURE_BINDING"));
    EXPECT_EQ(GLenum(GL_TEXTURE_2D), texture->target());
    EXPECT_FALSE(texture->isBound());
    EXPECT_EQ(GL_RGBA8, levelParameter(*texture, 0, GL_TEXTURE_INTERNAL_FORMAT));
    for (int level = 0, side = 4; level < 3; ++level, side /= 2) {
        EXPECT_TRUE(holds(*texture, level, 0, side, side, file.levels[level].data));
    }
    EXPECT_EQ((std::vector<GLint>{GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR, GL_REPEAT, GL_REPEAT, 0, 2}),
              samplingOf(*texture))
        << "no wrap mode is set";
    EXPECT_EQ(1, texture->dimensionLevelSize(4, 2)) << "the size is on record";
    EXPECT_EQ(0, texture->dimensionLevelSize(4, 3));
    driver()->glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
}

TEST_F(KTXReaderTest, FiltersAndAnisotropyFollowTheNumberOfLevels)
{
    GLint most = 1;
    if (hasGLExtension("GL_EXT_texture_filter_anisotropic")) {
        driver()->glGetIntegerv(GL_MAX_TEXTURE_MAX_ANISOTROPY, &most);
    }
    KtxFile file;
    file.addLevel(64);
    TextureFileInfo info = asInFile();
    for (const int wanted : {0, 2, 1000}) {
        info.anisotropy = wanted;
        const auto one = Reader(file.bytes()).load(info);
        EXPECT_EQ(qBound(1, wanted, most), textureParameter(*one, GL_TEXTURE_MAX_ANISOTROPY));
        EXPECT_EQ((std::vector<GLint>{GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR, GL_REPEAT, GL_REPEAT, 0, 0}),
                  samplingOf(*one));
    }
    file.mipmapLevels = 0;
    const auto generated = Reader(file.bytes()).load(info);
    EXPECT_MESSAGES(kGenerating);
    EXPECT_EQ(1, textureParameter(*generated, GL_TEXTURE_MAX_ANISOTROPY));
    EXPECT_EQ((std::vector<GLint>{GL_LINEAR, GL_LINEAR, GL_REPEAT, GL_REPEAT, 0, 1000}),
              samplingOf(*generated));
    EXPECT_EQ(1, levelParameter(*generated, 2, GL_TEXTURE_WIDTH));
}

TEST_F(KTXReaderTest, RowsArePaddedToFourBytesAndTheLastOneNeedsNoPadding)
{
    KtxFile file = KtxFile::of(3, 2, 0, GL_RGB8, GL_RGB);
    file.levels = {{21, rampBytes(21)}}; // 9 + 3 + 9
    const auto texture = load(file);
    ASSERT_NE(nullptr, texture);
    EXPECT_TRUE(holds(*texture, 0, 0, 3, 2, file.levels[0].data, 3, 12));

    file.levels[0].data.chop(1);
    EXPECT_EQ(nullptr, load(file));
    EXPECT_MESSAGES(failure());
}

TEST_F(KTXReaderTest, FacesOfACubeStandInStridesOfWholeWords)
{
    KtxFile file = KtxFile::of(2, 2, 0, GL_R8, GL_RED);
    file.faces = 6;
    file.mipmapLevels = 2;
    file.addLevel(6, 6).addLevel(1, 6); // strides of 8 and 4
    ASSERT_EQ(48, file.levels[0].data.size());
    const auto texture = load(file);
    ASSERT_NE(nullptr, texture);
    EXPECT_EQ(GLenum(GL_TEXTURE_CUBE_MAP), texture->target());
    for (int face = 0; face < 6; ++face) {
        EXPECT_TRUE(holds(*texture, 0, face, 2, 2, file.levels[0].data.mid(8 * face), 1, 4)) << face;
        EXPECT_TRUE(holds(*texture, 1, face, 1, 1, file.levels[1].data.mid(4 * face), 1)) << face;
    }
}

TEST_F(KTXReaderTest, LinesAndVolumesHaveTargetsOfTheirOwn)
{
    KtxFile line = KtxFile::of(4, 0, 0);
    line.mipmapLevels = 2;
    line.addLevel(16).addLevel(8);
    const auto texture1D = load(line);
    ASSERT_NE(nullptr, texture1D);
    EXPECT_EQ(GLenum(GL_TEXTURE_1D), texture1D->target());
    EXPECT_TRUE(holds(*texture1D, 1, 0, 2, 1, line.levels[1].data));

    KtxFile volume = KtxFile::of(2, 2, 2);
    volume.mipmapLevels = 2;
    volume.addLevel(32).addLevel(4);
    const auto texture3D = load(volume);
    ASSERT_NE(nullptr, texture3D);
    EXPECT_EQ(GLenum(GL_TEXTURE_3D), texture3D->target());
    for (int slice = 0; slice < 2; ++slice) {
        EXPECT_TRUE(holds(*texture3D, 0, slice, 2, 2, volume.levels[0].data.mid(16 * slice)));
    }
}

TEST_F(KTXReaderTest, OnlyTheThreeEtc2FormatsHaveAnSrgbForm)
{
    ZEL_NEEDS_EXTENSION("GL_ARB_ES3_compatibility");
    const std::tuple<GLenum, int, GLenum> rows[] = {
        {GL_COMPRESSED_RGB8_ETC2, 8, GL_COMPRESSED_SRGB8_ETC2},
        {GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2, 8, GL_COMPRESSED_SRGB8_PUNCHTHROUGH_ALPHA1_ETC2},
        {GL_COMPRESSED_RGBA8_ETC2_EAC, 16, GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC},
        {GL_COMPRESSED_RGBA_BPTC_UNORM, 16, GL_COMPRESSED_RGBA_BPTC_UNORM}};
    for (const auto &[format, size, srgbFormat] : rows) {
        const Tap<&glCompressedTexImage2D> uploads;
        const Reader reader(KtxFile::compressed(4, 4, format).addLevel(size).bytes());
        TextureFileInfo info = asInFile();
        reader.load(info);
        EXPECT_EQ(format, uploads.last<2>());
        info.srgb = true;
        reader.load(info);
        EXPECT_EQ(srgbFormat, uploads.last<2>());
    }
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
    const Pixels pixels = pixelsOf(*texture);
    EXPECT_TRUE(pixels.isNear(0, 0, {0.25f, 0.25f, 0.25f, 1.0f}, 0.01f));
    EXPECT_TRUE(pixels.isNear(3, 7, {0.75f, 0.25f, 0.25f, 1.0f}, 0.01f));
    EXPECT_EQ(GL_RGBA, levelParameter(*texture, 0, GL_TEXTURE_INTERNAL_FORMAT));
}

TEST_F(KTXReaderTest, ArraysAreRefused)
{
    KtxFile file;
    file.arrayElements = 1;
    file.addLevel(64);
    EXPECT_EQ(nullptr, load(file));
    EXPECT_MESSAGES("warning Array textures not supported yet, sorry!");
    file.faces = 6;
    EXPECT_EQ(nullptr, load(file));
    EXPECT_MESSAGES("warning Cubemap arrays not supported yet, sorry!");
}

TEST_F(KTXReaderTest, WhatGLRefusesLeavesNothingBehind)
{
    KtxFile file;
    file.glInternalFormat = 0x1234;
    file.addLevel(64);
    const StateGuard guard;
    EXPECT_EQ(nullptr, load(file));
    EXPECT_MESSAGES(failure());
    file.glType = 0;
    EXPECT_EQ(nullptr, Reader(file.bytes(), QString()).load(asInFile()));
    EXPECT_MESSAGES(failure("Compressed texture", "<unnamed>"));
    EXPECT_EQ(0, ledger().alive());
    EXPECT_EQ(QStringList(), guard.changes().filter("UNPACK") + guard.changes().filter("TEXTURE_BINDING"));
    EXPECT_EQ(2, TestContext::takeDriverReports().size()) << "and nothing else was refused";
}

TEST_F(KTXReaderTest, AFileWithoutShapeUploadsNothing)
{
    const Tap<&glTexImage2D> uploads;
    EXPECT_EQ(nullptr, load(KtxFile::of(0, 4, 0).addLevel(0)));
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
    for (const int missing : {1, 16, 17, 20}) { // within the second level, and within its size
        const Tap<&glTexImage2D> uploads;
        EXPECT_EQ(nullptr, Reader(bytes.chopped(missing)).load(TextureFileInfo()));
        EXPECT_MESSAGES(failure());
        EXPECT_EQ(1u, uploads.count());
    }
    EXPECT_EQ(nullptr, Reader(bytes.left(64)).load(asInFile())) << "no data at all; there is no message";
}

TEST_F(KTXReaderTest, AnImageSizeOtherThanWhatGLReadsDoesAsLongAsTheBytesAreThere)
{
    KtxFile file = KtxFile::of(4, 4, 0);
    for (const quint32 imageSize :
         {10u, 0xFFFFFFFFu}) { // the second points beyond the end, which is never read
        file.levels = {{imageSize, rampBytes(64)}};
        const auto texture = load(file);
        ASSERT_NE(nullptr, texture);
        EXPECT_TRUE(holds(*texture, 0, 0, 4, 4, file.levels[0].data));
    }
    file.glType = file.glFormat = 0;
    EXPECT_EQ(nullptr, load(file)) << "but GL would read a compressed image of that size";
    EXPECT_MESSAGES(failure("Compressed texture"));
}

TEST_F(KTXReaderTest, SizesBeyondAllMemoryAndEndlessLevelsFail)
{
    KtxFile huge = KtxFile::of(0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF);
    EXPECT_EQ(nullptr, load(huge.addLevel(64)));
    huge.glType = huge.glFormat = 0x7777; // unknown, so the size of the largest texel is used
    EXPECT_EQ(nullptr, load(huge));
    // In 32 bits the size of its blocks is the 64 bytes of the file.
    KtxFile wide = KtxFile::compressed(0x20000008, 8, GL_COMPRESSED_RGBA8_ETC2_EAC);
    EXPECT_EQ(nullptr, load(wide.addLevel(64)));
    EXPECT_MESSAGES(failure(), failure(), failure("Compressed texture"));

    KtxFile endless;
    endless.mipmapLevels = 0xFFFFFFFF;
    endless.levels.fill({0, QByteArray()}, 40);
    EXPECT_EQ(nullptr, load(endless.addLevel(64)));
    EXPECT_MESSAGES(failure());
    takeGLErrors();
}

namespace {

/// A thread that requests a number of pauses and counts the reads of its property.
class PausingThread : public QThread
{
    Q_OBJECT
    Q_PROPERTY(bool threadPauseRequested READ isPauseRequested)

public:
    bool isPauseRequested() { return ++looks <= pauses; }

    std::function<void()> work;
    int pauses = 0;
    int looks = 0;

protected:
    void run() override { work(); }
};

} // namespace

TEST_F(KTXReaderTest, ALoadPausesAsLongAsItsThreadIsAskedTo)
{
    KtxFile file;
    file.mipmapLevels = 3;
    file.addLevel(64).addLevel(16).addLevel(4);
    const std::unique_ptr<TestContext> own = TestContext::create();
    own->doneCurrent();
    PausingThread thread;
    thread.pauses = 2;
    thread.work = [&] {
        own->makeCurrent();
        EXPECT_NE(nullptr, load(file));
        own->doneCurrent();
        own->context()->moveToThread(QCoreApplication::instance()->thread());
    };
    own->context()->moveToThread(&thread);
    thread.start();
    thread.wait();
    EXPECT_EQ(2 + 2 * 3, thread.looks) << "twice for each level, and once more for each pause";
    makeCurrent();
}

#include "KTXReaderTest.moc"
