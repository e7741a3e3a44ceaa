#include "support/FakeLimits.h"
#include "support/FileMaker.h"
#include "support/Files.h"
#include "support/GLFixture.h"
#include "support/ReaderUnderTest.h"
#include "support/Tap.h"
#include "support/TextureParameter.h"
#include "support/UploadTouch.h"

#include <ZelGL/ZelGL.h>

#include <QtCore/QDirIterator>
#include <QtCore/QHash>
#include <QtCore/QTemporaryDir>
#include <QtGui/QImage>
#include <QtGui/QOpenGLFunctions_3_2_Core>

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
