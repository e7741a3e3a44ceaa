// Files of independent projects, loaded through the public functions: each must have the result that its header implies,
// and the data of the file or, if they are encoded, the texels of an independent decoder.

#include "support/Files.h"
#include "support/GLFixture.h"
#include "support/ReaderUnderTest.h"
#include "support/Stb.h"
#include "support/TestData.h"
#include "support/UploadTouch.h"

#include <ZelGL/TextureIO.h>

#include <QtCore/QDirIterator>
#include <QtCore/QHash>

using namespace Orvane::Zel;

namespace {

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

std::unique_ptr<Texture> load(const QString &path, const TextureFileInfo &info)
{
    return std::unique_ptr<Texture>(LoadTextureFromFile(path, info));
}

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

class RealTextureFilesTest : public GLTest, public testing::WithParamInterface<std::pair<const char *, int>>
{
};

} // namespace

TEST_P(RealTextureFilesTest, HaveTheResultAndTheDataThatTheirHeadersImply)
{
    ZEL_NEEDS_TEST_DATA(list, "README.md");
    const auto &[suffix, count] = GetParam();
    const QString ending = QString(".") + suffix;
    ZEL_NEEDS_EXTENSION_IF(ending == ".ktx", "GL_ARB_ES3_compatibility");
    const QDir folder = QFileInfo(list).dir();
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
        const std::unique_ptr<Texture> texture = load(path, asInFile());
        EXPECT_TRUE(takeMessages(messages));
        ASSERT_EQ(starts.contains(kLoaded), texture != nullptr);
        const std::unique_ptr<TextureLoader> reader(IdentifyTextureFromFile(path));
        EXPECT_EQ(starts == kUnrecognised, reader == nullptr);
        EXPECT_NE(starts == kUnrecognised || starts == kInvalid, reader != nullptr && reader->valid());
        if (texture != nullptr) {
            expectSizes(*texture, *reader);
            if (ending != ".hdr") {
                EXPECT_TRUE(bytesOf(path).contains(touch.lastBytes())) << "of the last level";
            } else if (hasStb()) {
                const std::vector<float> texels = hdrByStb(bytesOf(path));
                EXPECT_EQ(QByteArray(reinterpret_cast<const char *>(texels.data()),
                                     int(texels.size() * sizeof(float))),
                          touch.lastBytes());
            }
            const std::unique_ptr<Texture> turned = load(path, TextureFileInfo());
            _capture.take(); // a pass reports the formats that it does not know
            ASSERT_NE(nullptr, turned);
            expectSizes(*turned, *reader);
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
