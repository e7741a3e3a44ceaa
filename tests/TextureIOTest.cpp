#include "support/FakeLimits.h"
#include "support/FileMaker.h"
#include "support/Files.h"
#include "support/GLFixture.h"
#include "support/ReaderUnderTest.h"
#include "support/Tap.h"
#include "support/TextureParameter.h"
#include "support/UploadTouch.h"

#include <ZelGL/ZelGL.h>

#include <QtCore/QBuffer>
#include <QtCore/QDirIterator>
#include <QtCore/QHash>
#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryDir>
#include <QtGui/QImage>
#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <functional>
#include <memory>

#ifdef ZELGL_HAVE_STB
#define STBI_ONLY_HDR
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb/stb_image.h>
#pragma GCC diagnostic pop
#endif

using namespace Orvane::Zel;

namespace {

using TexturePointer = std::unique_ptr<Texture>;

const QByteArray kKtxBytes = KtxFile().addLevel(64).bytes();

TexturePointer loadMemory(QByteArray file, const QString &name = "bytes")
{
    return TexturePointer(LoadTextureFromMemory(reinterpret_cast<unsigned char *>(file.data()),
                                                size_t(file.size()), asInFile(), name));
}

class TextureIOTest : public GLTest
{
protected:
    QString write(const QString &name, const QByteArray &bytes)
    {
        return writeFile(_folder.filePath(name), bytes);
    }

    QString writeImage(const QString &name, const QImage &image)
    {
        image.save(_folder.filePath(name), "PNG");
        return _folder.filePath(name);
    }

    static TexturePointer load(const QString &path)
    {
        return TexturePointer(LoadTextureFromFile(path, asInFile()));
    }

    static ExpectedMessage loaded(const QString &name)
    {
        return startsWith("debug Texture " + name + " loaded in ");
    }

    QTemporaryDir _folder;
};

/// A recogniser that accepts no bytes and logs its calls and its deletion.
struct Witness : TextureRecogniser
{
    Witness(const QString &name_, QStringList &log_)
        : name(name_)
        , log(log_)
    {
    }

    ~Witness() override { log += name + " deleted"; }

    TextureLoader *recognise(Memory *, const QString &file) const override
    {
        log += name + " tries " + file;
        return nullptr;
    }

    QString name;
    QStringList &log;
};

/// Restores the built-in recognisers for later tests of the process.
struct BuiltInRecognisers
{
    ~BuiltInRecognisers()
    {
        DeleteAllRegisteredTextureRecognisers();
        RegisterTextureRecogniser(new HDRRecogniser, "hdr");
        RegisterTextureRecogniser(new KTXRecogniser, "ktx");
        RegisterTextureRecogniser(new ASTCRecogniser, "astc");
    }
};

QImage fourColors()
{
    static const QRgb rows[] = {qRgba(255, 0, 0, 255), qRgba(0, 255, 0, 128), // the upper row
                                qRgba(0, 0, 255, 255), qRgba(51, 102, 153, 255)};
    return QImage(reinterpret_cast<const uchar *>(rows), 2, 2, QImage::Format_ARGB32);
}

} // namespace

TEST_F(TextureIOTest, TheSuffixSelectsTheFirstRecogniserOnly)
{
    const QString plain = write("image.ktx", kKtxBytes);
    const QString other = write("image.dat", kKtxBytes);
    const QString wrong = write("image.HDR", kKtxBytes);
    for (const QString &path : {plain, other, wrong}) {
        EXPECT_NE(nullptr, load(path));
        EXPECT_MESSAGES(loaded(path));
    }

    QStringList log;
    const BuiltInRecognisers after; // deletes the recognisers before the log
    DeleteAllRegisteredTextureRecognisers();
    auto *first = new Witness("first", log);
    RegisterTextureRecogniser(first, QString());
    RegisterTextureRecogniser(new Witness("early", log), "ktx");
    RegisterTextureRecogniser(new Witness("late", log), "KtX"); // replaces the claim of "early"
    RegisterTextureRecogniser(first, "dat");                    // still listed once
    const auto expectTried = [&](const QString &path, const QStringList &names) {
        const QString between = " tries " + path;
        EXPECT_EQ(names.join(between + '|') + between, std::exchange(log, {}).join('|'));
    };
    for (const auto &[path, names] : {std::pair(wrong, QStringList({"first", "early", "late"})),
                                      std::pair(plain, QStringList({"late", "first", "early", "late"})),
                                      std::pair(other, QStringList({"first", "first", "early", "late"}))}) {
        EXPECT_EQ(nullptr, IdentifyTextureFromFile(path));
        expectTried(path, names);
    }
    EXPECT_EQ(nullptr, loadMemory(kKtxBytes, "memory.ktx"));
    expectTried("memory.ktx", {"first", "early", "late"}); // the suffix is ignored
    _capture.take();
    DeleteAllRegisteredTextureRecognisers();
    EXPECT_EQ(QStringList({"first deleted", "early deleted", "late deleted"}), log);
    EXPECT_EQ(nullptr, IdentifyTextureFromFile(plain)) << "whose recogniser is gone";
}

TEST_F(TextureIOTest, UnrecognisedFilesAreLeftToQImage)
{
    const QImage image = fourColors();
    for (const QString &path : {writeImage("image.hdr", image), // PNGs despite the name, and of another depth
                                writeImage("gray.png", image.convertToFormat(QImage::Format_Grayscale8))}) {
        const TexturePointer texture = load(path);
        ASSERT_NE(nullptr, texture);
        EXPECT_MESSAGES(loaded(path));
        const QImage shown = pixelsOf(*texture).toImage();
        EXPECT_EQ(QImage(path).convertToFormat(shown.format()), shown)
            << "the first row of the file is on top";
    }
}

TEST_F(TextureIOTest, FailuresAreReported)
{
    for (const QString &missing : {_folder.filePath("none.ktx"), _folder.path()}) {
        EXPECT_EQ(nullptr, load(missing));
        EXPECT_MESSAGES("warning [TextureIO.cpp:#] File " + missing + " not found");
    }
    const QString noImage = write("image.png", "no image");
    EXPECT_EQ(nullptr, load(noImage));
    EXPECT_MESSAGES("warning [TextureIO.cpp:#] Failed to load " + noImage);
    const QString broken = write("broken.astc", AstcFile().bytes());
    EXPECT_EQ(nullptr, load(broken)) << "QImage is not tried";
    EXPECT_MESSAGES("debug Data appears invalid for texture file '" + broken + "'");

    const QByteArray image = bytesOf(writeImage("image.png", fourColors())); // QImage is for files only
    for (const auto &[bytes, name, message] :
         {std::tuple(kKtxBytes.left(63), "", "debug Data appears invalid for texture data '<unnamed>'"),
          std::tuple(image, "bytes", "debug Unable to recognise the file format for texture data 'bytes'")}) {
        EXPECT_EQ(nullptr, loadMemory(bytes, name));
        EXPECT_MESSAGES(message);
    }
    EXPECT_NE(nullptr, loadMemory(kKtxBytes, "bytes"));
    EXPECT_MESSAGES(loaded("bytes"));
    EXPECT_EQ(nullptr, TexturePointer(LoadTextureFromMemory(nullptr, 0, asInFile(), "nothing")));
    EXPECT_MESSAGES("debug Unable to recognise the file format for texture data 'nothing'");
}

TEST_F(TextureIOTest, WithoutAFreeUnitNothingIsLoadedAndTheBoundTextureStays)
{
    const std::unique_ptr<TestContext> own = TestContext::create(); // whose units were not counted yet
    const FakeLimits oneUnit(GL_MAX_TEXTURE_IMAGE_UNITS, 1);
    Texture bound(nullptr);
    bound.create2D(GL_TEXTURE_2D, GL_RGBA8, 3, 3);
    ASSERT_TRUE(bound.bind());
    const QString noUnits = "warning [Texture.cpp:#] There is no available texture units";
    HdrFile hdr(1, 1);
    hdr.scanlines = HdrFile::flat(HdrFile::ramp(1));
    for (const QByteArray &file : {kKtxBytes, hdr.bytes()}) {
        EXPECT_EQ(nullptr, loadMemory(file));
        EXPECT_MESSAGES(noUnits, "warning Texture bytes failed to load.");
    }
    EXPECT_EQ(nullptr, loadMemory(AstcFile().addBlocks().bytes()));
    EXPECT_EQ(nullptr, MakeColorTexture(Qt::red));
    EXPECT_EQ(nullptr, SolidColorTexture(1.0f, 0.0f, 0.0f, 1.0f));
    EXPECT_MESSAGES(noUnits, noUnits, noUnits);
    EXPECT_EQ(3, bound.width(0));
    EXPECT_EQ(GL_NEAREST, textureParameter(bound, GL_TEXTURE_MIN_FILTER));
    EXPECT_TRUE(bound.unbind());
}

TEST_F(TextureIOTest, ImagesHaveFourLevelsAndSolidColoursOneOfWholeSteps)
{
    TextureFileInfo info;
    info.srgb = true;
    info.anisotropy = 2;
    const TexturePointer texture(QImageToTexture(QImage(64, 64, QImage::Format_ARGB32), false, info));
    const TexturePointer color(MakeColorTexture(QColor(10, 20, 30, 40)));
    const TexturePointer solid(SolidColorTexture(0.5f, 0.999f, 2.0f, 1e30f));
    const std::vector<GLint> sampling = {GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR, GL_CLAMP_TO_EDGE,
                                         GL_CLAMP_TO_EDGE,        0,         4};
    EXPECT_EQ(sampling, samplingOf(*texture));
    EXPECT_EQ(hasGLExtension("GL_EXT_texture_filter_anisotropic") ? 2 : 1,
              textureParameter(*texture, GL_TEXTURE_MAX_ANISOTROPY));
    EXPECT_EQ(GL_SRGB8_ALPHA8, levelParameter(*texture, 0, GL_TEXTURE_INTERNAL_FORMAT));
    EXPECT_EQ(4, levelParameter(*texture, 4, GL_TEXTURE_WIDTH));
    EXPECT_EQ(0, levelParameter(*texture, 5, GL_TEXTURE_WIDTH));
    EXPECT_EQ(64, texture->dimensionLevelSize(64, 0));

    EXPECT_EQ(sampling, samplingOf(*color));
    EXPECT_TRUE(pixelsOf(*color).isNear(0, 0, QVector4D(10, 20, 30, 40) / 255.0f, 1e-4f));
    EXPECT_EQ((std::vector<GLint>{GL_NEAREST, GL_NEAREST, GL_REPEAT, GL_REPEAT, 0, 0}), samplingOf(*solid));
    EXPECT_TRUE(pixelsOf(*solid).isNear(0, 0, QVector4D(127, 254, 510 % 256, 0) / 255.0f, 1e-4f));
}

TEST_F(TextureIOTest, ImagesOfHalfFloatPairsAreUploadedAsTheyAreAndOthersRemapped)
{
    QImage image(1, 1, QImage::Format_ARGB32);
    const quint16 halves[2] = {0x3800, 0x3C00}; // 0.5 and 1
    memcpy(image.bits(), halves, sizeof(halves));
    const TexturePointer pair(QImageToTexture(image, true, TextureFileInfo()));
    EXPECT_MESSAGES("debug Loading image as GL_RG16F...");
    const QImage small(9, 9, QImage::Format_Grayscale8);
    EXPECT_EQ(nullptr, TexturePointer(QImageToTexture(small, true, {}))) << "holds less than its size needs";
    EXPECT_EQ(GL_RG16F, levelParameter(*pair, 0, GL_TEXTURE_INTERNAL_FORMAT));
    EXPECT_TRUE(pixelsOf(*pair).isNear(0, 0, {0.5f, 1.0f, 0.0f, 1.0f}, 1e-4f));

    image.fill(Qt::white);
    TextureFileInfo info;
    info.highValue = 0.5f;
    for (const bool remapRange : {false, true}) {
        info.remapRange = remapRange;
        const TexturePointer texture(QImageToTexture(image, false, info));
        EXPECT_NEAR(remapRange ? 0.5f : 1.0f, pixelsOf(*texture).at(0, 0).x(), 0.01f);
    }
}

namespace {

constexpr char kPage[] = ZELGL_SOURCE_DIR "/docs/images.md";

/// A file of the page.
struct PageFile
{
    QString words;
    QByteArray bytes;
    const char *suffix;
    const char *needs = nullptr; ///< an extension
};

QByteArray bytesOfImage(const QImage &image, const char *format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

/// A KTX file with other fields than those of a 4x4 RGBA8 image.
QByteArray ktx(const std::function<void(KtxFile &)> &change, KtxFile file = KtxFile(), int size = 64)
{
    change(file);
    for (quint32 level = 0; level < std::max(file.mipmapLevels, 1u); ++level) {
        file.addLevel(size >> (2 * level), int(file.faces));
    }
    return file.bytes();
}

QByteArray hdr(const QByteArray &scanlines, const char *resolution = "-Y 1 +X 8\n")
{
    HdrFile file(8, 1);
    file.resolution = resolution;
    file.scanlines = scanlines;
    return file.bytes();
}

QByteArray astc(unsigned char width, unsigned char height)
{
    AstcFile file;
    file.block = {width, height, 1};
    return file.addBlocks().bytes();
}

// Each row is a line.
// clang-format off
std::vector<PageFile> filesOfThePage()
{
    const auto none = [](KtxFile &) {};
    const HdrFile::Row row = HdrFile::ramp(8);
    QImage image(4, 4, QImage::Format_ARGB32);
    image.fill(Qt::white);
    const QByteArray rest(256, '\0');
    return {
        {"KTX, RGBA with 8 bits, all levels", ktx([](KtxFile &file) { file.mipmapLevels = 3; }), "ktx"},
        {"KTX, level count 0: levels are generated", ktx([](KtxFile &file) { file.mipmapLevels = 0; }), "ktx"},
        {"KTX, half floats", ktx(none, KtxFile::of(4, 4, 0, GL_R16F, GL_RED, GL_HALF_FLOAT)), "ktx"},
        {"KTX, 5 6 5 bits", ktx(none, KtxFile::of(4, 4, 0, GL_RGB565, GL_RGB, GL_UNSIGNED_SHORT_5_6_5)), "ktx", "GL_ARB_ES2_compatibility"},
        {"KTX, without a height", ktx(none, KtxFile::of(4, 0, 0)), "ktx"},
        {"KTX, with a depth", ktx(none, KtxFile::of(4, 4, 2), 128), "ktx"},
        {"KTX, six faces", ktx([](KtxFile &file) { file.faces = 6; }), "ktx"},
        {"KTX, one array element", ktx([](KtxFile &file) { file.arrayElements = 1; }), "ktx"},
        {"KTX, array of cube maps", ktx([](KtxFile &file) { file.arrayElements = 1, file.faces = 6; }), "ktx"},
        {"KTX, RGTC", ktx(none, KtxFile::compressed(4, 4, GL_COMPRESSED_RED_RGTC1), 8), "ktx"},
        {"KTX, BPTC", ktx(none, KtxFile::compressed(4, 4, GL_COMPRESSED_RGBA_BPTC_UNORM), 16), "ktx", "GL_ARB_texture_compression_bptc"},
        {"KTX, ETC2", ktx(none, KtxFile::compressed(4, 4, GL_COMPRESSED_RGBA8_ETC2_EAC), 16), "ktx", "GL_ARB_ES3_compatibility"},
        {"KTX, a format that GL does not know", ktx([](KtxFile &file) { file.glInternalFormat = 0x1234; }), "ktx"},
        {"KTX, big-endian header", KtxFile().addLevel(64).bytes(KtxFile::eBigEndian), "ktx"},
        {"KTX, without the last byte", kKtxBytes.chopped(1), "ktx"},
        {"KTX, without data", kKtxBytes.left(64), "ktx"},
        {"KTX, within the header", kKtxBytes.left(63), "ktx"},
        {"KTX, named .png", kKtxBytes, "png"},
        {"KTX 2", QByteArray("\xABKTX 20\xBB\r\n\x1A\n", 12) + rest, "ktx2"},
        {"HDR, flat scanlines", hdr(HdrFile::flat(row)), "hdr"},
        {"HDR, scanlines of four planes", hdr(HdrFile::planes(row)), "hdr"},
        {"HDR, old runs", hdr(HdrFile::oldRun(8, row[0])), "hdr"},
        {"HDR, lowest row first", hdr(HdrFile::flat(row), "+Y 1 +X 8\n"), "hdr"},
        {"HDR, scanline of another width, which stays black", hdr(QByteArray("\2\2\0\7", 4) + rest), "hdr"},
        {"HDR, without the last byte", hdr(HdrFile::flat(row).chopped(1)), "hdr"},
        {"HDR, without a resolution", hdr(HdrFile::flat(row), ""), "hdr"},
        {"ASTC, blocks of 4 x 4", astc(4, 4), "astc", "GL_KHR_texture_compression_astc_ldr"},
        {"ASTC, blocks of 12 x 10", astc(12, 10), "astc", "GL_KHR_texture_compression_astc_ldr"},
        {"ASTC, without the last byte", astc(4, 4).chopped(1), "astc"},
        {"PNG, 8 bits", bytesOfImage(image, "PNG"), "png"},
        {"PNG, 16 bits, of which 8 are kept", bytesOfImage(image.convertToFormat(QImage::Format_RGBA64), "PNG"), "png"},
        {"JPEG", bytesOfImage(image, "JPEG"), "jpg"},
        {"BMP", bytesOfImage(image, "BMP"), "bmp"},
        {"PPM", bytesOfImage(image, "PPM"), "ppm"},
        {"DDS", "DDS |" + rest, "dds"},
        {"OpenEXR", QByteArray("\x76\x2F\x31\x01\x02\0\0\0", 8) + rest, "exr"},
        {"TIFF", QByteArray("II*\0", 4) + rest, "tif"},
        {"an empty file", QByteArray(), "png"},
    };
}
// clang-format on

/// What the page says about a texture.
QString wordsAbout(Texture &texture)
{
    static const QHash<GLenum, QString> shapes{{GL_TEXTURE_1D, "1D"},
                                               {GL_TEXTURE_2D, "2D"},
                                               {GL_TEXTURE_3D, "3D"},
                                               {GL_TEXTURE_CUBE_MAP, "cube map"}};
    texture.bind();
    int levels = 0;
    while (levels < 5 && texture.width(levels) > 0) {
        ++levels;
    }
    const QString size =
        QString("%1 x %2 x %3").arg(texture.width(0)).arg(texture.height(0)).arg(texture.depth(0));
    texture.unbind();
    return QString("%1, %2, %3 level%4")
        .arg(shapes[texture.target()], size)
        .arg(levels)
        .arg(levels == 1 ? "" : "s");
}

} // namespace

TEST_F(TextureIOTest, EachFileHasTheResultOfThePage)
{
    const QString page = bytesOf(kPage);
    QString accepted, refused;
    for (const PageFile &file : filesOfThePage()) {
        const QString start = "| " + file.words + " | ";
        if (file.needs != nullptr && !context()->hasExtension(file.needs)) {
            accepted += page.mid(page.indexOf(start)).section('\n', 0, 0) + '\n'; // stays as it is
            continue;
        }
        const QString path = write(QString("file.") + file.suffix, file.bytes);
        const TexturePointer texture = load(path);
        const QStringList messages = _capture.takeTexts(texture != nullptr ? QtWarningMsg : QtDebugMsg);
        takeGLErrors();
        const QString message = QString(messages.value(messages.size() - 1))
                                    .remove(QRegularExpression("^\\w+ (\\[.*:#\\] )?"))
                                    .replace(path, "FILE");
        const QString words = message.isEmpty() ? " |\n" : " `" + message.trimmed() + "` |\n";
        if (texture != nullptr) {
            accepted += start + wordsAbout(*texture) + " |" + words;
        } else {
            refused += start.chopped(1) + words;
        }
    }
    const QString heading = "## Files and their results\n";
    const QString written = page.section(heading, 0, 0) + heading
                            + "\nA test loads each of these files, and writes the tables.\n\n"
                              "| Accepted | Texture | Message |\n|---|---|---|\n"
                            + accepted + "\n| Refused | Last message |\n|---|---|\n" + refused + "\n## "
                            + page.section(heading, 1).section("\n## ", 1);
    if (qEnvironmentVariableIsSet("ZELGL_WRITE_PAGES")) {
        writeFile(kPage, written.toUtf8());
    }
    EXPECT_EQ(page.split('\n'), written.split('\n')) << "ZELGL_WRITE_PAGES=1 writes the page";
}

TEST(BakedPaths, TheSuffixGivesWayToTheMarks)
{
    EXPECT_EQ("[baked]", kBakedKeyword);
    EXPECT_EQ("/x/a[baked][aniso8].ktx", GetBakedImagePath("/x/a.png", ".ktx", 8));
    EXPECT_EQ("/x/a[baked].ktx", GetBakedImagePath("/x/a.png", ".ktx", 0));
    EXPECT_EQ("/png/a.b[baked].ktx", GetBakedImagePath("/png/a.b.png", ".ktx", -1));
    EXPECT_EQ("/x.y/a[baked].ktx", GetBakedImagePath("/x.y/a", ".ktx", 0)) << "without a suffix";
    EXPECT_TRUE(IsBakedImagePath("/x/a[baked].ktx"));
    EXPECT_FALSE(IsBakedImagePath("/x/a[BAKED].ktx"));
    EXPECT_EQ(8, GetAnisoLevel("/x/a[baked][aniso8].ktx"));
    EXPECT_EQ(-1, GetAnisoLevel("/x/a[baked].ktx"));
    EXPECT_EQ(-1, GetAnisoLevel("/x/a[Aniso8].ktx"));
    EXPECT_EQ(0, GetAnisoLevel("/x/a[anisotropic].ktx"));
    EXPECT_EQ(16, GetAnisoLevel("[aniso16"));
}

namespace {

// Files of independent projects: each must have the result that its header implies, and the data of the file or, if they
// are encoded, the texels of an independent decoder.

const QString kUnset = "critical [Texture.cpp:#] [ !! ] Assertion '0u != this->_target' failed: ";
const QString kLoaded = "debug Texture %1 loaded in ";
const QStringList kArray = {"warning Array textures not supported yet, sorry!"};
const QStringList kWithoutShape = {kUnset, kUnset, "warning Texture %1 failed to load."};
const QStringList kInvalid = {"debug Data appears invalid for texture file '%1'"};
const QStringList kUnrecognised = {"warning [TextureIO.cpp:#] Failed to load %1"};

/// The starts of the messages of all files that do not load without any; %1 is the path.
const QHash<QString, QStringList> kMessages = {
    {"ktx/khronos/texturearray_etc2_unorm.ktx", kArray},
    {"ktx/ktxtest/array_2_elements_2d.ktx", kArray},
    {"ktx/ktxtest/endian_big_type_ubyte_r8g8.ktx",
     kWithoutShape}, // the file has lost half of each byte of its header
    {"ktx/ktxtest/mipmap_1of0_levels.ktx", {"warning Generating Mipmaps. ", kLoaded}},
    {"ktx/ktxtest_invalid/endianness_invalid.ktx", kInvalid},
    {"ktx/ktxtest_invalid/eof_at_31bytes.ktx", kInvalid},
    {"ktx/ktxtest_invalid/identifier_invalid.ktx", kUnrecognised},
    {"ktx/ktxtest_invalid/size_2d_width_0.ktx", kWithoutShape},
    {"astc/negative_magic.astc", kUnrecognised},
    {"astc/negative_short.astc", kInvalid}};

/// Compares the sizes of all levels in GL with the results of the reader.
void expectSizes(Texture &texture, const TextureLoader &reader)
{
    const GLenum target = reader.isCubeMapTexture() ? GL_TEXTURE_CUBE_MAP
                          : reader.is1DTexture()    ? GL_TEXTURE_1D
                          : reader.is2DTexture()    ? GL_TEXTURE_2D
                                                    : GL_TEXTURE_3D;
    ASSERT_EQ(target, texture.target());
    texture.bind();
    const int levels = int(reader.mipmapLevels());
    for (int level = 0; level < levels; ++level) {
        const auto side = [level](unsigned int size) { return std::max(int(size) >> level, 1); };
        EXPECT_EQ(side(reader.width()), texture.width(level)) << "level " << level;
        EXPECT_EQ(side(reader.height()), texture.height(level)) << "level " << level;
        EXPECT_EQ(side(reader.depth()), texture.depth(level)) << "level " << level;
    }
    EXPECT_EQ(levels == 0, texture.width(levels) > 0) << "levels that the file lacks are generated";
    texture.unbind();
}

/// A Radiance picture, as floats of an independent decoder in the order of GL's rows; empty if the tests were built without one.
QByteArray decodedHdr([[maybe_unused]] const QByteArray &file)
{
    QByteArray rows;
#ifdef ZELGL_HAVE_STB
    int width = 0, height = 0, channels = 0;
    float *data = stbi_loadf_from_memory(reinterpret_cast<const stbi_uc *>(file.constData()), file.size(),
                                         &width, &height, &channels, 3);
    for (int y = height; y-- > 0;) {
        rows.append(reinterpret_cast<const char *>(data + 3 * y * width), width * 3 * int(sizeof(float)));
    }
    stbi_image_free(data);
#endif
    return rows;
}

class RealTextureFilesTest : public TextureIOTest,
                             public testing::WithParamInterface<std::pair<const char *, int>>
{
};

} // namespace

TEST_P(RealTextureFilesTest, HaveTheResultAndTheDataThatTheirHeadersImply)
{
    const QDir folder(qEnvironmentVariable("ZELGL_TEST_DATA", ZELGL_SOURCE_DIR "/../shared/data"));
    if (!folder.exists("README.md")) {
        GTEST_SKIP() << "Needs the files of ZELGL_TEST_DATA, which are not part of the source tree";
    }
    const auto &[suffix, count] = GetParam();
    const QString ending = QString(".") + suffix;
    ZEL_NEEDS_EXTENSION_IF(ending == ".ktx", "GL_ARB_ES3_compatibility");
    QDirIterator it(folder.path(), {"*" + ending}, QDir::Files, QDirIterator::Subdirectories);
    int files = 0;
    for (; it.hasNext(); ++files) {
        const QString path = it.next();
        SCOPED_TRACE(qPrintable(path));
        const QStringList starts = kMessages.value(folder.relativeFilePath(path), {kLoaded});
        std::vector<ExpectedMessage> messages;
        for (const QString &start : starts) {
            messages.push_back(startsWith(QString(start).replace("%1", path)));
        }
        const UploadTouch touch;
        const TexturePointer texture = load(path);
        EXPECT_TRUE(takeMessages(messages));
        ASSERT_EQ(starts.contains(kLoaded), texture != nullptr);
        const std::unique_ptr<TextureLoader> reader(IdentifyTextureFromFile(path));
        EXPECT_EQ(starts == kUnrecognised, reader == nullptr);
        EXPECT_NE(starts == kUnrecognised || starts == kInvalid, reader != nullptr && reader->valid());
        if (texture != nullptr) {
            expectSizes(*texture, *reader);
            if (ending != ".hdr") {
                EXPECT_TRUE(bytesOf(path).contains(touch.lastBytes())) << "of the last level";
            } else {
                const QByteArray texels = decodedHdr(bytesOf(path));
                EXPECT_TRUE(texels.isEmpty() || texels == touch.lastBytes());
            }
        } else if (starts == kWithoutShape) {
            TestContext::takeDriverReports(); // about parameters for a missing target
            takeGLErrors();
        }
    }
    EXPECT_EQ(count, files);
}

INSTANTIATE_TEST_SUITE_P(, RealTextureFilesTest,
                         testing::Values(std::pair("ktx", 43), std::pair("hdr", 9), std::pair("astc", 10)),
                         [](const auto &suffix) { return std::string(suffix.param.first); });
