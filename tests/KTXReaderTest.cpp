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

std::unique_ptr<Texture> load(const KtxFile &file)
{
    return Reader(file.bytes()).load(asInFile());
}

/// Compares a level, a slice or a face of a texture with its bytes, in rows of whole words.
testing::AssertionResult holds(const Texture &texture, int level, int layer, int width, int height,
                               const QByteArray &bytes, int channels = 4)
{
    const Pixels expected = Pixels::of(width, height, [&](int x, int y) {
        QVector4D texel(0.0f, 0.0f, 0.0f, 1.0f);
        for (int i = 0; i < channels; ++i) {
            texel[i] = float(uchar(bytes[y * ((width * channels + 3) & ~3) + x * channels + i])) / 255.0f;
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

TEST_F(KTXHeaderTest, TheResultsFollowFromTheFieldsOfTheHeader)
{
    for (const auto &[width, height, depth, dimensions] :
         {std::tuple(4, 0, 0, 1), std::tuple(4, 4, 0, 2), std::tuple(4, 4, 4, 3), std::tuple(0, 4, 0, 0),
          std::tuple(4, 0, 4, 0)}) {
        const Reader reader(KtxFile::of(quint32(width), quint32(height), quint32(depth)).bytes());
        EXPECT_EQ(dimensions, reader->is1DTexture() + 2 * reader->is2DTexture() + 3 * reader->is3DTexture());
    }
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
    EXPECT_EQ("", padded->value(0)) << "the value starts on the NUL after the key";
    EXPECT_FALSE(padded->value(0).isNull());
}

TEST_F(KTXHeaderTest, MetadataThatLeaveTheFileEndTheListAndTheirTextsAreNull)
{
    // Without a NUL in the entry: the last byte, and the text that starts there.
    const Reader whole(withKeyValues(QByteArray("\4\0\0\0wxyz\0\0\0\0!", 13)).bytes());
    ASSERT_TRUE(whole.valid());
    EXPECT_EQ("wxyz", whole->key(0));
    EXPECT_EQ("z", whole->value(0));
    EXPECT_EQ(whole->rawKey(0) + 3, whole->rawValue(0));
    EXPECT_EQ(whole->rawKey(1), whole->rawValue(1)) << "of an entry of no bytes";

    KtxFile file;
    file.keyValues = QByteArray("\xFF\0\0\0endless", 11); // its size points far beyond the end
    const Reader endless(file.bytes());
    ASSERT_TRUE(endless.valid()) << "no entry ends on the end of the block";
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

TEST_F(KTXReaderTest, LevelsFacesAndSlicesAreUploadedAndTheStateIsRestored)
{
    KtxFile flat;
    flat.mipmapLevels = 3;
    flat.addLevel(64).addLevel(16).addLevel(4);
    KtxFile padded = KtxFile::of(3, 2, 0, GL_RGB8, GL_RGB);
    padded.levels = {{21, rampBytes(21)}}; // 9 + 3 + 9: the last row needs no padding
    KtxFile cube = KtxFile::of(2, 2, 0, GL_R8, GL_RED);
    cube.faces = 6;
    cube.mipmapLevels = 2;
    cube.addLevel(6, 6).addLevel(1, 6); // in strides of whole words, 8 and 4
    KtxFile line = KtxFile::of(4, 0, 0);
    line.mipmapLevels = 2;
    line.addLevel(16).addLevel(8);
    KtxFile volume = KtxFile::of(2, 2, 2);
    volume.mipmapLevels = 2;
    volume.addLevel(32).addLevel(4);
    driver()->glPixelStorei(GL_UNPACK_ALIGNMENT, 2);
    for (const auto &[file, target, channels] :
         {std::tuple(flat, GL_TEXTURE_2D, 4), std::tuple(padded, GL_TEXTURE_2D, 3),
          std::tuple(cube, GL_TEXTURE_CUBE_MAP, 1), std::tuple(line, GL_TEXTURE_1D, 4),
          std::tuple(volume, GL_TEXTURE_3D, 4)}) {
        SCOPED_TRACE(target);
        const StateGuard guard;
        driver()->glEnable(GL_NONE); // an error of the host, not of the load
        const auto texture = load(file);
        EXPECT_EQ(1, TestContext::takeDriverReports().size());
        ASSERT_NE(nullptr, texture);
        EXPECT_EQ(QStringList(),
                  guard.changes().filter("UNPACK") + guard.changes().filter("TEXTURE_BINDING"));
        ASSERT_EQ(GLenum(target), texture->target());
        EXPECT_FALSE(texture->isBound());
        for (int level = 0; level < file.levels.size(); ++level) {
            const QByteArray &data = file.levels[level].data;
            const int layers = target == GL_TEXTURE_3D ? int(file.depth) >> level : int(file.faces);
            for (int layer = 0; layer < layers; ++layer) {
                EXPECT_TRUE(holds(*texture, level, layer, int(file.width) >> level,
                                  std::max(int(file.height) >> level, 1),
                                  data.mid(layer * data.size() / layers), channels))
                    << level << ", " << layer;
            }
        }
        EXPECT_EQ(2, texture->dimensionLevelSize(4, 1)) << "the size is on record";
        EXPECT_EQ((std::vector<GLint>{GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR, GL_REPEAT, GL_REPEAT, 0,
                                      int(file.mipmapLevels) - 1}),
                  samplingOf(*texture))
            << "no wrap mode is set";
    }
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
    }
    file.mipmapLevels = 0;
    const auto generated = Reader(file.bytes()).load(info);
    EXPECT_MESSAGES(
        "warning Generating Mipmaps. For increased loading performance, include these in the .ktx file.");
    EXPECT_EQ(1, textureParameter(*generated, GL_TEXTURE_MAX_ANISOTROPY));
    EXPECT_EQ((std::vector<GLint>{GL_LINEAR, GL_LINEAR, GL_REPEAT, GL_REPEAT, 0, 1000}),
              samplingOf(*generated));
    EXPECT_EQ(1, levelParameter(*generated, 2, GL_TEXTURE_WIDTH));
    EXPECT_EQ(GL_RGBA8, levelParameter(*generated, 0, GL_TEXTURE_INTERNAL_FORMAT));
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

TEST_F(KTXReaderTest, WhatCannotBeLoadedLeavesNothingBehind)
{
    KtxFile array = KtxFile().addLevel(64);
    array.arrayElements = 1;
    KtxFile cubes = array;
    cubes.faces = 6;
    KtxFile unknown = KtxFile().addLevel(64); // to GL
    unknown.glInternalFormat = 0x1234;
    KtxFile compressed = unknown;
    compressed.glType = 0;
    KtxFile huge = KtxFile::of(0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF).addLevel(64);
    KtxFile hugeTexels = huge;
    hugeTexels.glType = hugeTexels.glFormat = 0x7777; // unknown, so the size of the largest texel is used
    // In 32 bits the size of its blocks is the 64 bytes of the file.
    KtxFile wide = KtxFile::compressed(0x20000008, 8, GL_COMPRESSED_RGBA8_ETC2_EAC).addLevel(64);
    KtxFile endless;
    endless.mipmapLevels = 0xFFFFFFFF;
    endless.levels.fill({0, QByteArray()}, 40);
    endless.addLevel(64);
    KtxFile sizes = KtxFile::compressed(4, 4, GL_RGBA8);
    sizes.levels = {{0xFFFFFFFFu, rampBytes(64)}}; // which GL would read
    const StateGuard guard;
    const QString array2D = "warning Array textures not supported yet, sorry!";
    const QString arrayOfCubes = "warning Cubemap arrays not supported yet, sorry!";
    const QString failed = failure();
    const QString failedCompressed = failure("Compressed texture");
    for (const auto &[file, message, reports] :
         {std::tuple(array, array2D, 0), std::tuple(cubes, arrayOfCubes, 0), std::tuple(unknown, failed, 1),
          std::tuple(compressed, failedCompressed, 1), std::tuple(huge, failed, 0),
          std::tuple(hugeTexels, failed, 0), std::tuple(wide, failedCompressed, 0),
          std::tuple(sizes, failedCompressed, 0), std::tuple(endless, failed, -1)}) {
        EXPECT_EQ(nullptr, load(file));
        EXPECT_MESSAGES(message);
        const int count = TestContext::takeDriverReports().size();
        EXPECT_TRUE(reports == count || reports < 0) << count << qPrintable(message);
        takeGLErrors();
        EXPECT_EQ(0, ledger().alive());
    }
    EXPECT_EQ(nullptr, Reader(unknown.bytes(), QString()).load(asInFile()));
    EXPECT_MESSAGES(failure("Texture", "<unnamed>"));
    EXPECT_EQ(1, TestContext::takeDriverReports().size());

    const Tap<&glTexImage2D> uploads;
    EXPECT_EQ(nullptr, load(KtxFile::of(0, 4, 0).addLevel(0))) << "without a shape";
    EXPECT_EQ(0u, uploads.count());
    const AssertionsOf asserted("Texture.cpp");
    EXPECT_MESSAGES(asserted("0u != this->_target", "Texture Target is not set on bind"),
                    asserted("0u != this->_target", "Texture Target is not set on unbind"), failed);
    EXPECT_EQ(4, TestContext::takeDriverReports().size()) << "of parameters for no target";
    EXPECT_EQ(QStringList(), guard.changes().filter("UNPACK") + guard.changes().filter("TEXTURE_BINDING"));
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
    KtxFile file;
    for (const quint32 imageSize : {10u, 0xFFFFFFFFu}) { // the second points beyond the end
        file.levels = {{imageSize, rampBytes(64)}};
        const auto texture = load(file);
        ASSERT_NE(nullptr, texture);
        EXPECT_TRUE(holds(*texture, 0, 0, 4, 4, file.levels[0].data));
    }
    KtxFile short21 = KtxFile::of(3, 2, 0, GL_RGB8, GL_RGB);
    short21.levels = {{21, rampBytes(20)}};
    EXPECT_EQ(nullptr, load(short21));
    EXPECT_MESSAGES(failure());
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
