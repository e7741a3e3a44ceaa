// The same scenes through every texture manager and each of its settings, against what the CPU makes of the source
// images: the picture must not change with the strategy, but for what a strategy is stated not to do.

#include "support/DrawnPixels.h"
#include "support/FileMaker.h"
#include "support/Files.h"
#include "support/GLFixture.h"
#include "support/HelperTextures.h"
#include "support/TestData.h"
#include "support/TestProgram.h"
#include "support/TextureParameter.h"
#include "support/TextureStrategies.h"

#include <ZelGL/ZelGL.h>

#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>

using namespace Orvane::Zel;

namespace {

const QVector4D kInvalid(0, 1, 0, 1);
const QVector4D kEmptyPatch(1, 1, 1, 0);
const QVector4D kWhite(1, 1, 1, 1);
constexpr float kByte = 1.0f / 255.0f;
constexpr float kHalfByte = 0.5f / 255.0f;

const QString kSample = "managedTexture(u_Token, uv)";
const auto kMethods = {TextureManager::SlotReallocationDownscale, TextureManager::SlotReallocationUpscale};

/// Draws an expression over uv, from 0 to 1 over the picture.
constexpr char kFragmentStage[] = R"(#version 150
#include "TextureManager.glslh"
uniform uvec2 u_Token;
uniform vec2 u_Size;
out vec4 color;
vec3 faceDirection(int face, vec2 uv) {
  vec2 st = 2.0 * uv - 1.0;
  if (face == 0) return vec3(1.0, -st.y, -st.x);
  if (face == 1) return vec3(-1.0, -st.y, st.x);
  if (face == 2) return vec3(st.x, 1.0, st.y);
  if (face == 3) return vec3(st.x, -1.0, -st.y);
  if (face == 4) return vec3(st.x, -st.y, 1.0);
  return vec3(-st.x, -st.y, -1.0);
}
void main() {
  vec2 uv = gl_FragCoord.xy / u_Size;
  color = %1;
}
)";

QVector4D colorOf(QRgb color)
{
    return QVector4D(float(qRed(color)), float(qGreen(color)), float(qBlue(color)), float(qAlpha(color)))
           * kByte;
}

/// Of eight bits a channel.
Pixels randomPixels(int width, int height, unsigned int seed)
{
    std::mt19937 engine(seed);
    return Pixels::of(width, height, [&](int, int) { return colorOf(QRgb(engine())); });
}

float decoded(float srgb)
{
    return srgb <= 0.04045f ? srgb / 12.92f : std::pow((srgb + 0.055f) / 1.055f, 2.4f);
}

Pixels decodedPixels(const Pixels &pixels)
{
    return Pixels::of(pixels.width(), pixels.height(), [&](int x, int y) {
        const QVector4D c = pixels.at(x, y);
        return QVector4D(decoded(c.x()), decoded(c.y()), decoded(c.z()), c.w());
    });
}

/// What a linear blit makes of a picture in another size.
Pixels resized(const Pixels &source, int width, int height)
{
    const auto mixed = [](const QVector4D &a, const QVector4D &b, float t) { return a * (1.0f - t) + b * t; };
    return Pixels::of(width, height, [&](int x, int y) {
        const float u = (float(x) + 0.5f) * float(source.width()) / float(width) - 0.5f;
        const float v = (float(y) + 0.5f) * float(source.height()) / float(height) - 0.5f;
        const int left = int(std::floor(u));
        const int low = int(std::floor(v));
        const auto texel = [&](int i, int j) {
            return source.at(qBound(0, i, source.width() - 1), qBound(0, j, source.height() - 1));
        };
        return mixed(mixed(texel(left, low), texel(left + 1, low), u - float(left)),
                     mixed(texel(left, low + 1), texel(left + 1, low + 1), u - float(left)), v - float(low));
    });
}

class TextureManagerPicturesTest : public GLTest, public testing::WithParamInterface<TextureStrategy>
{
protected:
    void SetUp() override
    {
        ZEL_NEEDS_DRIVER_OF(GetParam());
        manager = GetParam().make();
        manager->setup(&_processor);
    }

    void TearDown() override
    {
        EXPECT_EQ(QStringList(), warnings());
        if (manager == nullptr) {
            return;
        }
        const bool wasBound = !_programs.empty();
        _programs.clear();
        manager.reset();
        EXPECT_EQ(wasBound ? GetParam().helperTextures : 0, _helpers.count());
        _helpers.deleteAll();
    }

    /// For programs that are built from now on.
    void defineDebug() { _processor.addDefine("DEBUG", "1"); }

    /// Replaces the manager by one with this number of slots.
    void restart(int slotCount,
                 TextureManager::SlotReallocationMethod method = TextureManager::SlotReallocationDownscale)
    {
        _programs.clear();
        manager = GetParam().make();
        _helpers.deleteAll();
        manager->setMaxSlots(slotCount);
        manager->setSlotReallocationMethod(method);
        manager->setup(&_processor);
    }

    // Of the array managers.

    QString resizeWarning(int from, int to) const
    {
        return QString::asprintf(
            "warning [Array2DTextureManager.cpp:#] %p Textures were resized to fit into texture "
            "slots (%dx%d) -> (%dx%d)",
            static_cast<void *>(manager.get()), from, from, to, to);
    }

    /// Takes the messages, and answers those above debug.
    QStringList warnings() { return _capture.takeTexts(QtWarningMsg); }

    QString write(const QByteArray &bytes, const char *suffix)
    {
        return writeFile(_folder.filePath(QStringLiteral("%1.%2").arg(++_files).arg(suffix)), bytes);
    }

    /// The token of an image file.
    TextureToken tokenFor(const Pixels &picture, const TextureFileInfo &info = TextureFileInfo())
    {
        const QString path = _folder.filePath(QStringLiteral("%1.png").arg(++_files));
        EXPECT_TRUE(picture.toImage().save(path));
        return manager->tokenForImage(path, info);
    }

    /// Square pictures, each shown by its token.
    std::vector<std::pair<Pixels, TextureToken>> newImages(unsigned int count, int side, unsigned int seed)
    {
        std::vector<std::pair<Pixels, TextureToken>> images;
        for (unsigned int i = 0; i < count; ++i) {
            const Pixels picture = randomPixels(side, side, seed + i);
            images.emplace_back(picture, tokenFor(picture));
        }
        return images;
    }

    /// A texture that the manager owns once it has a token; \a upload fills its levels while it is bound. Those of
    /// another wrap mode are in other slots.
    template <typename Upload>
    Texture *newTexture(GLenum target, int levels, Upload upload, GLint wrap = GL_CLAMP_TO_EDGE)
    {
        auto *texture = new Texture(nullptr);
        texture->setTarget(target);
        texture->bind();
        glTexParameteri(target, GL_TEXTURE_MIN_FILTER, levels > 1 ? GL_NEAREST_MIPMAP_NEAREST : GL_NEAREST);
        glTexParameteri(target, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        glTexParameteri(target, GL_TEXTURE_WRAP_S, wrap);
        glTexParameteri(target, GL_TEXTURE_WRAP_T, wrap);
        glTexParameteri(target, GL_TEXTURE_MAX_LEVEL, levels - 1);
        upload();
        texture->unbind();
        return texture;
    }

    /// The same with one level of texels.
    Texture *newTexture(const Pixels &pixels, GLint internalFormat = GL_RGBA8, GLint wrap = GL_CLAMP_TO_EDGE)
    {
        return newTexture(
            GL_TEXTURE_2D, 1, [&] { upload(GL_TEXTURE_2D, 0, pixels, internalFormat); }, wrap);
    }

    /// To the bound texture.
    static void upload(GLenum target, int level, const Pixels &pixels, GLint internalFormat)
    {
        glTexImage2D(target, level, internalFormat, pixels.width(), pixels.height(), 0, GL_RGBA, GL_FLOAT,
                     pixels.data());
    }

    /// The token of a texture that does not change any more.
    TextureToken tokenFor(Texture *texture)
    {
        texture->setReadOnly();
        return manager->tokenForTexture(texture);
    }

    /// Whether a token draws this picture.
    testing::AssertionResult shows(const TextureToken &token, const Pixels &expected,
                                   float tolerance = kHalfByte, const QString &expression = kSample)
    {
        return draw(token, expected.width(), expected.height(), expression).isNear(expected, tolerance);
    }

    /// The same of one face of a cube, by its direction; where the strategy has no cubes, that it is invalid.
    testing::AssertionResult showsFace(const TextureToken &token, int face, Pixels expected, float tolerance)
    {
        if (GetParam().kind == TextureStrategy::eSampler) {
            expected = Pixels(expected.width(), expected.height(), kInvalid);
        }
        const QString direction = QStringLiteral("(u_Token, 3.0 * faceDirection(%1, uv)").arg(face);
        const auto shown = shows(token, expected, tolerance, "managedTextureCube" + direction + ")");
        return shown ? shows(token, expected, tolerance, "managedTextureCubeLod" + direction + ", 0.0)")
                     : shown;
    }

    /// What an expression over uv, from 0 to 1 over the picture, gives for a token.
    Pixels draw(const TextureToken &token, int width, int height, const QString &expression = kSample)
    {
        return drawBound({token}, token, width, height, expression);
    }

    Pixels drawBound(const QVector<TextureToken> &bound, const TextureToken &token, int width, int height,
                     const QString &expression = kSample)
    {
        ShaderProgram &program = programOf(expression);
        manager->bind(bound);
        program.bind();
        manager->bind(&program);
        glUniform2ui(program.getUniformLocation("u_Token"), GLuint(token.token), GLuint(token.token >> 32));
        glUniform2f(program.getUniformLocation("u_Size"), float(width), float(height));
        const Pixels pixels = drawnPixels(program, width, height);
        manager->unbind(&program);
        program.unbind();
        manager->unbind(bound);
        return pixels;
    }

    /// The one colour that an expression gives everywhere.
    QVector4D drawn(const TextureToken &token, const QString &expression)
    {
        return draw(token, 1, 1, expression).at(0, 0);
    }

    std::unique_ptr<TextureManager> manager;

private:
    ShaderProgram &programOf(const QString &expression)
    {
        std::unique_ptr<ShaderProgram> &program = _programs[expression];
        if (program == nullptr) {
            program = makeProgram(kAllOver, QString(kFragmentStage).arg(expression), &_processor,
                                  {manager->getShaderFile()});
        }
        return *program;
    }

    QTemporaryDir _folder;
    int _files = 0;
    GLSLMacroProcessor _processor;
    std::map<QString, std::unique_ptr<ShaderProgram>> _programs;
    HelperTextures _helpers;
};

/// What a shader reads of a texture's base level, texel by texel, asked of GL.
Pixels texelsOf(Texture &texture, int face = 0)
{
    const GLint internalFormat = levelParameter(texture, 0, GL_TEXTURE_INTERNAL_FORMAT);
    const bool isEncoded = internalFormat == GL_SRGB8 || internalFormat == GL_SRGB8_ALPHA8;
    const Pixels texels = pixelsOf(texture, 0, face);
    return isEncoded ? decodedPixels(texels) : texels;
}

/// Mesa's zink ends the process where a shader asks for the size of a bindless handle.
#define ZEL_NEEDS_SIZES_OF_HANDLES(whichAsks)                                                                \
    if ((whichAsks)                                                                                          \
        && QByteArray(reinterpret_cast<const char *>(glGetString(GL_RENDERER))).startsWith("zink"))          \
    GTEST_SKIP() << "Needs a driver other than zink, which crashes on the size of a bindless handle"

using ArrayPicturesTest = TextureManagerPicturesTest;

INSTANTIATE_TEST_SUITE_P(Strategies, TextureManagerPicturesTest, testing::ValuesIn(textureStrategies()),
                         nameOfStrategy);
INSTANTIATE_TEST_SUITE_P(Strategies, ArrayPicturesTest,
                         testing::ValuesIn(textureStrategies({TextureStrategy::eArray})), nameOfStrategy);

} // namespace

TEST_P(TextureManagerPicturesTest, ImagesOfAnySizeShowTheirTexels)
{
    for (const QSize size :
         {QSize(16, 16), QSize(13, 7), QSize(8, 2), QSize(3, 3), QSize(1, 9), QSize(1, 1)}) {
        for (unsigned int seed = 1; seed < 3; ++seed) {
            const Pixels picture = randomPixels(size.width(), size.height(), seed);
            EXPECT_TRUE(shows(tokenFor(picture), picture)) << size.width() << " by " << size.height();
        }
    }
}

TEST_P(TextureManagerPicturesTest, EncodedColoursAreDecodedBeforeTheShaderSeesThem)
{
    const Pixels picture = randomPixels(16, 16, 2);
    TextureFileInfo info;
    info.srgb = true;
    EXPECT_TRUE(shows(tokenFor(picture, info), decodedPixels(picture), 2e-3f));
}

TEST_P(TextureManagerPicturesTest, ColoursOfHighRangeKeepTheirValues)
{
    Pixels pixels(2, 1, QVector4D(-2.5f, 0.0f, 1000.0f, 0.25f));
    pixels.at(1, 0) = QVector4D(0.5f, 60000.0f, -1.0f, 8.0f);
    EXPECT_TRUE(shows(tokenFor(newTexture(pixels, GL_RGBA16F)), pixels, 0.0f));
    EXPECT_TRUE(shows(tokenFor(newTexture(pixels, GL_RGBA32F)), pixels, 0.0f));

    HdrFile file(4, 4);
    for (int y = 0; y < 4; ++y) {
        file.scanlines += HdrFile::flat(HdrFile::ramp(4, 40 * y));
    }
    Texture *loaded = manager->textureForImage(write(file.bytes(), "hdr"), {});
    EXPECT_TRUE(shows(manager->tokenForTexture(loaded), texelsOf(*loaded), 0.0f));
}

TEST_P(TextureManagerPicturesTest, LevelsAreThoseOfTheTexture)
{
    const auto colorOf = [](int level) {
        return QVector4D(float(level) * 51.0f, 255.0f, 51.0f, 255.0f) * kByte;
    };
    const TextureToken token = tokenFor(newTexture(GL_TEXTURE_2D, 4, [&] {
        for (int level = 0; level < 4; ++level) {
            upload(GL_TEXTURE_2D, level, Pixels(8 >> level, 8 >> level, colorOf(level)), GL_RGBA8);
        }
    }));
    for (int level = 0; level < 4; ++level) {
        const QString expression = QStringLiteral("managedTextureLod(u_Token, uv, %1.0)").arg(level);
        EXPECT_TRUE(shows(token, Pixels(4, 4, colorOf(level)), kHalfByte, expression)) << level;
    }
    EXPECT_TRUE(shows(token, Pixels(2, 2, colorOf(2)))) << "chosen by the size on the screen";
    if (GetParam().kind == TextureStrategy::eArray) {
        ZEL_NEEDS_EXTENSION("GL_ARB_texture_query_lod");
        const QString query = QStringLiteral("vec4(managedTextureQueryLod(u_Token, uv), 0.0, 0.0)");
        EXPECT_NEAR(2.0f, draw(token, 2, 2, query).at(0, 0).y(), 0.01f);
        EXPECT_EQ(QVector4D(), drawBound({token}, TextureToken(1000), 2, 2, query).at(0, 0));
    }
}

TEST_P(TextureManagerPicturesTest, CubesShowTheirFacesWhereTheStrategyHasThem)
{
    const auto faceOf = [](int face) { return randomPixels(4, 4, 10 + unsigned(face)); };
    const auto newCube = [&] {
        return newTexture(GL_TEXTURE_CUBE_MAP, 1, [&] {
            for (int face = 0; face < 6; ++face) {
                upload(GL_TEXTURE_CUBE_MAP_POSITIVE_X + GLenum(face), 0, faceOf(face), GL_RGBA8);
            }
        });
    };
    const TextureToken token = tokenFor(newCube());
    for (int face = 0; face < 6; ++face) {
        EXPECT_TRUE(showsFace(token, face, faceOf(face), kHalfByte)) << face;
    }
    if (GetParam().kind == TextureStrategy::eBindless) { // a texture that can still change has no handle
        const TextureToken writable = manager->tokenForTexture(newCube());
        EXPECT_EQ(kInvalid, drawn(writable, "managedTextureCube(u_Token, vec3(1.0, 0.0, 0.0))"));
    }
    EXPECT_EQ(kInvalid, drawn(token, "managedTextureCubeOffset(u_Token, vec3(1.0, 0.0, 0.0), ivec3(0))"));
}

TEST_P(TextureManagerPicturesTest, WhatCannotBeLoadedIsWhite)
{
    EXPECT_EQ(kWhite, drawn(manager->tokenForImage("/nowhere/at all.png", TextureFileInfo()), kSample));
    EXPECT_EQ(1, warnings().size());
    const QVector4D translucent = drawn(manager->tokenForColor(QColor(255, 51, 0, 102)), kSample);
    EXPECT_TRUE(Pixels(1, 1, translucent).isNear(0, 0, QVector4D(1.0f, 0.2f, 0.0f, 0.4f), kHalfByte));
    const TextureToken red = manager->tokenForColor(QColor(Qt::red)); // not white in the first slot
    const TextureToken unreadable = manager->tokenForImage(write("no image", "png"), TextureFileInfo());
    EXPECT_EQ(kWhite, drawBound({red, unreadable}, unreadable, 1, 1).at(0, 0));
    EXPECT_FALSE(warnings().isEmpty()); // one for every attempt to load it
}

TEST_P(TextureManagerPicturesTest, MoreTexturesThanSlotsShowAsFarAsTheStrategyReaches)
{
    const auto images = newImages(12, 4, 20);
    QVector<TextureToken> tokens;
    for (const auto &image : images) {
        tokens += image.second;
    }
    warnings();
    QStringList told;
    int reached = tokens.size();
    if (GetParam().kind == TextureStrategy::eSampler) {
        told += "warning [SamplerTextureManager.cpp:#] Requesting 12 texture slots but only 8 available. "
                "Rendering will be incorrect!";
        reached = 8;
    }
    for (int i = 0; i < tokens.size(); ++i) {
        const Pixels expected = i < reached ? images[size_t(i)].first : Pixels(4, 4, kInvalid);
        EXPECT_TRUE(drawBound(tokens, tokens[i], 4, 4).isNear(expected, kHalfByte)) << i;
        EXPECT_EQ(told, warnings());
    }
}

TEST_P(TextureManagerPicturesTest, DeletedTokensGoToOtherPicturesAndTheOthersStay)
{
    auto images = newImages(6, 8, 40);
    for (const auto &[picture, token] : images) {
        EXPECT_TRUE(shows(token, picture));
    }
    for (const size_t again : {1, 4, 2}) {
        const TextureToken hole = images[again].second;
        manager->deleteTexture(hole);
        images[again] = newImages(1, 8, 60 + unsigned(again)).front();
        EXPECT_TRUE(images[again].second == hole || GetParam().kind == TextureStrategy::eBindless)
            << "the hole is filled";
    }
    for (const auto &[picture, token] : images) {
        EXPECT_TRUE(shows(token, picture));
    }
}

TEST_P(TextureManagerPicturesTest, AChangedTextureShowsItsNewPixelsInItsNewSize)
{
    const Pixels before = randomPixels(8, 8, 70);
    const Pixels after = randomPixels(16, 4, 71);
    Texture *texture = newTexture(before);
    const TextureToken token = manager->tokenForTexture(texture);
    EXPECT_TRUE(shows(token, before));
    texture->bind();
    upload(GL_TEXTURE_2D, 0, after, GL_RGBA8);
    texture->unbind();
    manager->dirty(texture);
    EXPECT_TRUE(shows(token, after));
}

TEST_P(TextureManagerPicturesTest, TokensThatWereNeverIssuedAreCaughtUnderDebug)
{
    defineDebug();
    const TextureToken white = manager->tokenForColor(QColor(Qt::white));
    const quint64 mark = GetParam().kind == TextureStrategy::eBindless ? Q_UINT64_C(0xFFFFFFFF) << 32 : 0;
    for (const TextureToken &token : {TextureToken(), TextureToken(mark | 1000)}) {
        for (const char *form : {"managedTexture(u_Token, uv)", "managedTextureLod(u_Token, uv, 0.0)"}) {
            EXPECT_EQ(kInvalid, drawBound({white}, token, 1, 1, form).at(0, 0)) << form;
        }
        EXPECT_EQ(QVector4D(), drawBound({white}, token, 1, 1, "vec4(zelIsValidToken(u_Token))").at(0, 0));
    }
    EXPECT_EQ(kWhite, drawn(white, "vec4(zelIsValidToken(u_Token))"));
    EXPECT_EQ(kWhite, drawn(white, kSample));
}

TEST_P(TextureManagerPicturesTest, SizesAreThoseOfTheBaseLevel)
{
    ZEL_NEEDS_SIZES_OF_HANDLES(GetParam().needsBindless);
    defineDebug();
    const QString size = QStringLiteral("vec4(managedTextureSize(u_Token), 0.0, 0.0)");
    const TextureToken token = tokenFor(newTexture(Pixels(12, 5, kWhite)));
    EXPECT_EQ(QVector4D(12, 5, 0, 0), drawn(token, size));
    EXPECT_EQ(QVector4D(), drawBound({token}, TextureToken(), 1, 1, size).at(0, 0));
}

TEST_P(TextureManagerPicturesTest, OffsetsMoveByTexelsOnlyWhereTheStrategyHasThem)
{
    ZEL_NEEDS_SIZES_OF_HANDLES(GetParam().kind == TextureStrategy::eBindless);
    const Pixels picture = randomPixels(4, 4, 80);
    const TextureToken token = tokenFor(newTexture(picture));
    EXPECT_TRUE(shows(token, picture));
    const Pixels moved = draw(token, 4, 4, "managedTextureOffset(u_Token, uv, ivec2(1, -2))");
    const QVector4D expected = GetParam().kind == TextureStrategy::eBindless ? picture.at(2, 1) : kInvalid;
    EXPECT_TRUE(moved.isNear(1, 3, expected, kHalfByte));
}

TEST_P(TextureManagerPicturesTest, RealKTXImagesShowWhatTheirTexturesHold)
{
    ZEL_NEEDS_EXTENSION("GL_ARB_ES3_compatibility");
    restart(14); // a slot for every format
    for (const char *name : {"ktx/khronos/etc2-rgba8.ktx", "ktx/khronos/rgb-mipmap-reference.ktx",
                             "ktx/khronos/rgba-reference.ktx", "ktx/ktxtest/format_astc_8x5_unorm.ktx",
                             "ktx/ktxtest/format_bc1_rgba_unorm.ktx", "ktx/ktxtest/format_bc3_unorm.ktx",
                             "ktx/ktxtest/format_bc5_unorm.ktx", "ktx/ktxtest/format_etc2_r8g8b8a8_unorm.ktx",
                             "ktx/ktxtest/format_raw_r16g16b16_sfloat.ktx",
                             "ktx/ktxtest/format_raw_r8_unorm.ktx", "ktx/ktxtest/format_raw_r8g8b8_unorm.ktx",
                             "ktx/ktxtest/format_raw_r8g8b8a8_unorm.ktx", "ktx/ktxtest/size_2d_64x32.ktx"}) {
        ZEL_NEEDS_TEST_DATA(path, name);
        Texture *texture = manager->textureForImage(path, TextureFileInfo());
        ASSERT_NE(nullptr, texture) << name;
        EXPECT_TRUE(shows(manager->tokenForTexture(texture), texelsOf(*texture), 2e-3f)) << name;
        EXPECT_EQ(QStringList(), warnings());
    }
}

TEST_P(TextureManagerPicturesTest, RealCubesShowTheirFaces)
{
    ZEL_NEEDS_TEST_DATA(path, "ktx/ktxtest/cubemap_6_faces.ktx");
    TextureFileInfo info;
    info.keepOrientation = true; // turning is for flat images
    Texture *texture = manager->textureForImage(path, info);
    ASSERT_NE(nullptr, texture);
    for (int face = 0; face < 6; ++face) {
        EXPECT_TRUE(showsFace(manager->tokenForTexture(texture), face, texelsOf(*texture, face), 2e-3f))
            << face;
    }
}

TEST_P(TextureManagerPicturesTest, RealTilesShowAlikeAsOneSetOrOneByOne)
{
    ZEL_NEEDS_TEST_DATA(first, "udim/grid/grid.1001.png");
    const TextureToken set = manager->createUDIMToken();
    EXPECT_EQ(GetParam().kind == TextureStrategy::eArray, set != nullTextureToken);
    const auto pathOf = [&](int tile) {
        return QString(first).replace("1001", QString::number(1001 + tile));
    };
    const auto tiles = {0, 1, 2, 10, 11, 12};
    for (const int tile : tiles) {
        if (manager->supportsUDIMs()) {
            manager->addUDIMPatch(set, QPoint(tile % 10, tile / 10),
                                  manager->textureForImage(pathOf(tile), {}));
        }
    }
    for (const int tile : tiles) {
        const QImage image = QImage(pathOf(tile)).mirrored(); // the lowest row first, as GL has it
        ASSERT_EQ(QSize(512, 512), image.size());
        const Pixels expected = Pixels::of( // every eighth texel
            64, 64, [&](int x, int y) { return colorOf(image.pixel(8 * x + 4, 8 * y + 4)); });
        const QString there =
            QStringLiteral("managedTextureLod(u_Token, uv + vec2(%1.0, %2.0) + 0.5 / 512.0, 0.0)");
        EXPECT_TRUE(shows(manager->tokenForImage(pathOf(tile), {}), expected, kHalfByte, there.arg(0).arg(0)))
            << tile;
        if (manager->supportsUDIMs()) {
            EXPECT_TRUE(shows(set, expected, kHalfByte, there.arg(tile % 10).arg(tile / 10))) << tile;
        }
    }
}

TEST_P(ArrayPicturesTest, ArraysTakeALayerForEachOfTheirs)
{
    const Pixels layers = randomPixels(4, 3 * 4, 130);
    const Pixels first = Pixels::of(4, 4, [&](int x, int y) { return layers.at(x, y); });
    const TextureToken token = tokenFor(newTexture(GL_TEXTURE_2D_ARRAY, 1, [&] {
        glTexImage3D(GL_TEXTURE_2D_ARRAY, 0, GL_RGBA8, 4, 4, 3, 0, GL_RGBA, GL_FLOAT, layers.data());
    }));
    EXPECT_TRUE(shows(token, first)) << "the token reads the first layer";
    const Pixels single = randomPixels(4, 4, 140);
    const TextureToken next = tokenFor(newTexture(single));
    EXPECT_TRUE(shows(next, single));
    EXPECT_TRUE(shows(token, first));
}

TEST_P(ArrayPicturesTest, UDIMSetsShowTheirPatchesAndTheirGaps)
{
    const TextureToken set = manager->createUDIMToken();
    Pixels expected(20, 16,
                    kEmptyPatch); // three patches a row, two rows, and a margin of a patch on all sides
    QVector<Texture *> textures;
    for (const QPoint &place : {QPoint(0, 0), QPoint(2, 0), QPoint(1, 1)}) {
        const Pixels picture = randomPixels(4, 4, 150 + unsigned(textures.size()));
        // One has a slot of its own.
        textures.append(newTexture(picture, GL_RGBA8, textures.isEmpty() ? GL_REPEAT : GL_CLAMP_TO_EDGE));
        manager->addUDIMPatch(set, place, textures.last());
        for (int texel = 0; texel < 16; ++texel) {
            const QPoint at(texel % 4, texel / 4);
            expected.at(4 * (1 + place.x()) + at.x(), 4 * (1 + place.y()) + at.y()) =
                picture.at(at.x(), at.y());
        }
    }
    const QString overAll = QStringLiteral("(u_Token, vec2(5.0, 4.0) * uv - 1.0");
    EXPECT_TRUE(shows(set, expected, kHalfByte, "managedTexture" + overAll + ")"));
    EXPECT_TRUE(shows(set, expected, kHalfByte, "managedTextureLod" + overAll + ", 0.0)"));
    EXPECT_EQ(QVector4D(1, -2, 0, 0), drawn(set, "vec4(managedTextureUDIMIndex(vec2(1.5, -1.5)), 0.0, 0.0)"));
    EXPECT_EQ(kInvalid, drawn(set, "managedTexelFetch(u_Token, ivec2(0), 0)"));
    EXPECT_EQ(kInvalid, drawn(set, "managedTextureCube(u_Token, vec3(1.0, 0.0, 0.0))"));

    // The block of five tokens, from 2 on, goes with the set; the textures of the patches keep theirs.
    for (Texture *texture : textures) {
        EXPECT_FALSE(manager->deleteUDIM(set));
        manager->removeUDIMPatch(set, texture);
    }
    EXPECT_TRUE(manager->deleteUDIM(set));
    EXPECT_EQ(10u, manager->maxToken().token);
    const TextureToken empty = manager->createUDIMToken();
    EXPECT_EQ(2u, empty.token);
    EXPECT_EQ(kEmptyPatch, drawn(empty, kSample));
}

TEST_P(ArrayPicturesTest, ASlotOfAnotherSizeScales)
{
    for (const auto method : kMethods) {
        restart(1, method);
        const bool upscale = method == TextureManager::SlotReallocationUpscale;
        const Pixels large = randomPixels(16, 16, 160);
        const Pixels small = randomPixels(8, 8, 161);
        const Pixels &first = upscale ? large : small;
        const Pixels &second = upscale ? small : large;
        const TextureToken one = tokenFor(newTexture(first));
        const TextureToken other = tokenFor(newTexture(second));
        const int side = first.width();
        EXPECT_TRUE(shows(one, first));
        EXPECT_TRUE(shows(other, resized(second, side, side), 1.5f * kByte));
        EXPECT_EQ(QStringList(resizeWarning(second.width(), side)), warnings());
    }
}

TEST_P(ArrayPicturesTest, MergingSlotsKeepsThePictureOfEveryToken)
{
    for (const auto method : kMethods) {
        restart(2, method);
        const bool upscale = method == TextureManager::SlotReallocationUpscale;
        QVector<TextureToken> tokens;
        std::vector<Pixels> pictures;
        for (unsigned int i = 0; i < 6; ++i) {
            const int side = i % 2 == 0 ? 16 : 8;
            pictures.push_back(randomPixels(side, side, 170 + i));
            tokens.append(tokenFor(newTexture(pictures.back())));
            draw(tokens.last(), side, side);
        }
        warnings();
        const Pixels newcomer = randomPixels(4, 4, 180);
        const TextureToken token = tokenFor(newTexture(newcomer, GL_RGBA8, GL_REPEAT));
        EXPECT_TRUE(shows(token, newcomer));
        EXPECT_EQ(QStringList(upscale ? resizeWarning(8, 16) : resizeWarning(16, 8)), warnings());
        const int side = upscale ? 16 : 8;
        for (int i = 0; i < tokens.size(); ++i) {
            const Pixels expected = resized(pictures[size_t(i)], side, side);
            EXPECT_TRUE(shows(tokens[i], expected, 1.5f * kByte)) << i;
        }
    }
}

TEST_P(ArrayPicturesTest, WithoutAPlaceATextureIsInvalidAndIsTriedAgain)
{
    restart(1);
    const TextureToken first = tokenFor(newTexture(Pixels(4, 4, kWhite)));
    EXPECT_EQ(kWhite, drawn(first, kSample));
    const TextureToken second = tokenFor(newTexture(Pixels(4, 4, kWhite), GL_RGBA8, GL_REPEAT));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(kInvalid, drawn(second, kSample));
        EXPECT_EQ(1, warnings().filter("Failed to find slot or layer").size());
    }
    EXPECT_EQ(kWhite, drawn(first, kSample));
}

TEST_P(ArrayPicturesTest, AnEncodedTextureThatFindsNoSlotStandsUndecodedInAPlainOne)
{
    restart(1);
    const Pixels picture = randomPixels(4, 4, 190);
    const TextureToken plain = tokenFor(newTexture(picture));
    const TextureToken encoded = tokenFor(newTexture(picture, GL_SRGB8_ALPHA8));
    EXPECT_TRUE(shows(plain, picture));
    EXPECT_TRUE(shows(encoded, picture, kByte));
    EXPECT_EQ(QStringList(resizeWarning(4, 4)), warnings());
}

TEST_P(ArrayPicturesTest, LevelsThatASourceLacksAreMadeFromTheOnesAbove)
{
    const Pixels picture = randomPixels(8, 4, 200);
    const TextureToken token = tokenFor(newTexture(picture));
    const Pixels half = resized(picture, 4, 2);
    EXPECT_TRUE(shows(token, half, 1.5f * kByte, "managedTexelFetch(u_Token, ivec2(gl_FragCoord.xy), 1)"));
    const Pixels quarter = resized(half, 2, 1);
    EXPECT_TRUE(shows(token, quarter, 2 * kByte, "managedTexelFetch(u_Token, ivec2(gl_FragCoord.xy), 2)"));

    restart(1, TextureManager::SlotReallocationUpscale);
    const Pixels image = randomPixels(64, 64, 201);
    EXPECT_TRUE(shows(tokenFor(image), image));
    const TextureToken color = manager->tokenForColor(QColor(255, 51, 0)); // one level, of a maximum of 4
    for (int level = 0; level < 7; ++level) {
        const QString fetch = QStringLiteral("managedTexelFetch(u_Token, ivec2(0), %1)").arg(level);
        EXPECT_TRUE(shows(color, Pixels(1, 1, QVector4D(1.0f, 0.2f, 0.0f, 1.0f)), kHalfByte, fetch)) << level;
    }
    EXPECT_EQ(QStringList(resizeWarning(1, 64)), warnings());
}

TEST_P(ArrayPicturesTest, TheDebugViewShowsAllSlotsWithTheirLayers)
{
    ZEL_NEEDS_SIZES_OF_HANDLES(GetParam().needsBindless);
    restart(2);
    const QVector4D red(1, 0, 0, 1);
    const QVector4D blue(0, 0, 1, 1);
    const TextureToken first = tokenFor(newTexture(Pixels(4, 4, red)));
    const TextureToken second = tokenFor(newTexture(Pixels(4, 4, blue)));
    const TextureToken other = tokenFor(newTexture(Pixels(2, 2, kWhite), GL_RGBA16F));
    EXPECT_EQ(red, drawBound({first, second, other}, first, 1, 1).at(0, 0));
    const Pixels view = drawBound({first, second, other}, first, 4, 100, "textureGetDebug(uv)");
    EXPECT_TRUE(view.isNear(1, 0, QVector4D(0, 0, 0, 1), 0.0f)) << "the bar over the first slot";
    EXPECT_TRUE(view.isNear(2, 0, QVector4D(0.5f, 0, 0, 1), 0.0f)) << "the bar over the second";
    EXPECT_TRUE(view.isNear(1, 25, red, 0.0f));
    EXPECT_TRUE(view.isNear(1, 75, blue, 0.0f));
    EXPECT_TRUE(view.isNear(3, 50, kWhite, 0.0f));
    EXPECT_EQ(QVector4D(),
              drawn(first, "textureGetDebug(vec2(1.0, 0.5)) + textureGetDebug(vec2(0.5, 1.01))"));
}
