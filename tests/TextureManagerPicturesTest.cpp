// The same scenes through every texture manager and each of its settings, compared with the source images: the picture
// depends on the strategy only where a strategy lacks a feature.

#include "support/DrawnPixels.h"
#include "support/Files.h"
#include "support/GLFixture.h"
#include "support/HelperTextures.h"
#include "support/Tap.h"
#include "support/TestProgram.h"
#include "support/TextureStrategies.h"

#include <ZelGL/ZelGL.h>

#include <QtCore/QTemporaryDir>

#include <algorithm>
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

/// Draws an expression over uv, from 0 to 1 over the picture, and u_Number: each other text would be compiled.
constexpr char kFragmentStage[] = R"(#version 150
#include "TextureManager.glslh"
uniform uvec2 u_Token;
uniform vec2 u_Size;
uniform int u_Number;
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

/// What a linear blit makes of a picture in half its size.
Pixels halved(const Pixels &source)
{
    return Pixels::of(source.width() / 2, source.height() / 2, [&](int x, int y) {
        return (source.at(2 * x, 2 * y) + source.at(2 * x + 1, 2 * y) + source.at(2 * x, 2 * y + 1)
                + source.at(2 * x + 1, 2 * y + 1))
               / 4.0f;
    });
}

class TextureManagerPicturesTest : public GLTest, public testing::WithParamInterface<TextureStrategy>
{
protected:
    void SetUp() override
    {
        ZEL_NEEDS_DRIVER_OF(GetParam());
        restart(2); // shaders with few slots compile in less time
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

    bool is(TextureStrategy::Kind kind) const { return GetParam().kind == kind; }

    /// Mesa's zink ends the process where a shader asks for the size of a bindless handle.
    static bool canAskForSizes()
    {
        return !GetParam().needsBindless
               || !QByteArray(reinterpret_cast<const char *>(glGetString(GL_RENDERER))).startsWith("zink");
    }

    /// Replaces the manager by one with this number of slots.
    void restart(int slotCount,
                 TextureManager::SlotReallocationMethod method = TextureManager::SlotReallocationDownscale)
    {
        _programs.clear();
        manager = GetParam().make();
        _helpers.deleteAll();
        manager->setMaxSlots(slotCount);
        manager->setSlotReallocationMethod(method);
        manager->setup(&processor);
    }

    /// Takes the messages and returns the warnings.
    QStringList warnings() { return _capture.takeTexts(QtWarningMsg); }

    /// The message of an array manager about square textures.
    QString resizeWarning(int from, int to) const
    {
        return QString::asprintf(
            "warning [Array2DTextureManager.cpp:#] %p Textures were resized to fit into texture "
            "slots (%dx%d) -> (%dx%d)",
            static_cast<void *>(manager.get()), from, from, to, to);
    }

    QString newPath() { return _folder.filePath(QStringLiteral("%1.png").arg(++_files)); }

    /// The token of an image file.
    TextureToken tokenFor(const Pixels &picture, const TextureFileInfo &info = TextureFileInfo())
    {
        const QString path = newPath();
        EXPECT_TRUE(picture.toImage().save(path));
        return manager->tokenForImage(path, info);
    }

    /// The token of a texture that does not change any more.
    TextureToken tokenFor(Texture *texture)
    {
        texture->setReadOnly();
        return manager->tokenForTexture(texture);
    }

    /// A texture that the manager owns once it has a token; \a upload fills its levels while it is bound.
    template <typename Upload>
    Texture *newTexture(GLenum target, int levels, Upload upload, GLint wrapS = GL_CLAMP_TO_EDGE,
                        GLint wrapT = GL_CLAMP_TO_EDGE)
    {
        auto *texture = new Texture(nullptr);
        texture->setTarget(target);
        const AutoBinder binder(texture);
        glTexParameteri(target, GL_TEXTURE_MIN_FILTER, levels > 1 ? GL_NEAREST_MIPMAP_NEAREST : GL_NEAREST);
        glTexParameteri(target, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        glTexParameteri(target, GL_TEXTURE_WRAP_S, wrapS);
        glTexParameteri(target, GL_TEXTURE_WRAP_T, wrapT);
        glTexParameteri(target, GL_TEXTURE_MAX_LEVEL, levels - 1);
        upload();
        return texture;
    }

    /// The same with one level of texels.
    Texture *newTexture(const Pixels &pixels, GLint internalFormat = GL_RGBA8, GLint wrapS = GL_CLAMP_TO_EDGE,
                        GLint wrapT = GL_CLAMP_TO_EDGE)
    {
        return newTexture(
            GL_TEXTURE_2D, 1, [&] { upload(GL_TEXTURE_2D, 0, pixels, internalFormat); }, wrapS, wrapT);
    }

    /// To the bound texture.
    static void upload(GLenum target, int level, const Pixels &pixels, GLint internalFormat = GL_RGBA8)
    {
        glTexImage2D(target, level, internalFormat, pixels.width(), pixels.height(), 0, GL_RGBA, GL_FLOAT,
                     pixels.data());
    }

    /// Whether a token draws this picture.
    testing::AssertionResult shows(const TextureToken &token, const Pixels &expected,
                                   float tolerance = kHalfByte, const QString &expression = kSample)
    {
        return draw({token}, token, expected.width(), expected.height(), expression)
            .isNear(expected, tolerance);
    }

    /// What an expression over uv, from 0 to 1 over the picture, gives for a token.
    Pixels draw(const QVector<TextureToken> &bound, const TextureToken &token, int width, int height,
                const QString &expression = kSample)
    {
        std::unique_ptr<ShaderProgram> &program = _programs[expression];
        if (program == nullptr) {
            program = makeProgram(kAllOver, QString(kFragmentStage).arg(expression), &processor,
                                  {manager->getShaderFile()});
        }
        manager->bind(bound);
        program->bind();
        {
            const AutoEnabler scissorTest(GL_SCISSOR_TEST); // of the host, which must not clip copies
            glScissor(0, 0, 1, 1);
            manager->bind(_draws++ % 2 == 0 ? program.get() : nullptr); // null: the one in use
        }
        glUniform2ui(program->getUniformLocation("u_Token"), GLuint(token.token), GLuint(token.token >> 32));
        glUniform2f(program->getUniformLocation("u_Size"), float(width), float(height));
        glUniform1i(program->getUniformLocation("u_Number"), number);
        const Pixels pixels = drawnPixels(*program, width, height);
        manager->unbind(program.get());
        program->unbind();
        manager->unbind(bound);
        return pixels;
    }

    /// The one colour that an expression gives everywhere.
    QVector4D drawn(const TextureToken &token, const QString &expression = kSample)
    {
        return draw({token}, token, 1, 1, expression).at(0, 0);
    }

    /// The same of a token that is not bound again.
    QVector4D drawnUnbound(const TextureToken &token, const QString &expression = kSample)
    {
        return draw({}, token, 1, 1, expression).at(0, 0);
    }

    std::unique_ptr<TextureManager> manager;
    GLSLMacroProcessor processor; ///< for programs that are built from now on
    int number = 0;               ///< that expressions read

private:
    QTemporaryDir _folder;
    int _files = 0;
    int _draws = 0;
    std::map<QString, std::unique_ptr<ShaderProgram>> _programs;
    HelperTextures _helpers;
};

using ArrayPicturesTest = TextureManagerPicturesTest;

INSTANTIATE_TEST_SUITE_P(Strategies, TextureManagerPicturesTest, testing::ValuesIn(textureStrategies()),
                         nameOfStrategy);
INSTANTIATE_TEST_SUITE_P(Strategies, ArrayPicturesTest,
                         testing::ValuesIn(textureStrategies({TextureStrategy::eArray})), nameOfStrategy);

} // namespace

TEST_P(TextureManagerPicturesTest, TexelsOfEverySizeFormatAndWrapModeArrive)
{
    restart(5);
    for (const QSize size : {QSize(16, 16), QSize(13, 7), QSize(8, 2), QSize(3, 3), QSize(1, 9)}) {
        const Pixels picture = randomPixels(size.width(), size.height(), 1);
        EXPECT_TRUE(shows(tokenFor(picture), picture)) << size.width() << " by " << size.height();
    }
    restart(5);
    TextureFileInfo info;
    info.srgb = true;
    const Pixels encoded(2, 2, QVector4D(51.0f, 128.0f, 255.0f, 51.0f) * kByte);
    EXPECT_TRUE(shows(tokenFor(encoded, info), Pixels(2, 2, QVector4D(0.0331f, 0.2159f, 1.0f, 0.2f)), 1e-3f));
    const Pixels picture = randomPixels(8, 8, 2);
    Pixels range(2, 1, QVector4D(-2.5f, 0.0f, 1000.0f, 0.25f));
    range.at(1, 0) = QVector4D(0.5f, 60000.0f, -1.0f, 8.0f);
    EXPECT_TRUE(shows(tokenFor(newTexture(range, GL_RGBA16F)), range, 0.0f));
    EXPECT_TRUE(shows(tokenFor(newTexture(range, GL_RGBA32F)), range, 0.0f));
    for (const auto &[wrapS, wrapT] :
         {std::pair(GL_REPEAT, GL_CLAMP_TO_EDGE), std::pair(GL_CLAMP_TO_EDGE, GL_REPEAT)}) {
        const auto wrapped = [](int i, int wrap) { return wrap == GL_REPEAT ? i & 7 : qBound(0, i, 7); };
        const Pixels around = Pixels::of(24, 24, [&, s = wrapS, t = wrapT](int x, int y) {
            return picture.at(wrapped(x - 8, s), wrapped(y - 8, t));
        });
        EXPECT_TRUE(shows(tokenFor(newTexture(picture, GL_RGBA8, wrapS, wrapT)), around, kHalfByte,
                          "managedTexture(u_Token, 3.0 * uv - 1.0)"));
    }
}

TEST_P(TextureManagerPicturesTest, LevelsAreThoseOfTheTexture)
{
    const auto colorOf = [](int level) {
        return QVector4D(float(level) * 51.0f, 255.0f, 51.0f, 255.0f) * kByte;
    };
    const TextureToken token = tokenFor(newTexture(GL_TEXTURE_2D, 4, [&] {
        for (int level = 0; level < 4; ++level) {
            upload(GL_TEXTURE_2D, level, Pixels(8 >> level, 8 >> level, colorOf(level)));
        }
    }));
    const QString expression = "managedTextureLod(u_Token, uv, float(u_Number))";
    for (number = 0; number < 4; ++number) {
        EXPECT_TRUE(shows(token, Pixels(4, 4, colorOf(number)), kHalfByte, expression)) << number;
    }
    EXPECT_TRUE(shows(token, Pixels(2, 2, colorOf(2)))) << "chosen by the size on the screen";
    if (is(TextureStrategy::eArray)) {
        ZEL_NEEDS_EXTENSION("GL_ARB_texture_query_lod");
        const QString query = QStringLiteral("vec4(managedTextureQueryLod(u_Token, uv), 0.0, 0.0)");
        EXPECT_NEAR(2.0f, draw({token}, token, 2, 2, query).at(0, 0).y(), 0.01f);
        EXPECT_EQ(QVector4D(), drawnUnbound(1000, query));
    }
}

TEST_P(TextureManagerPicturesTest, CubesShowTheirFacesWhereTheStrategyHasThem)
{
    const auto faceOf = [](int face) { return randomPixels(4, 4, 10 + unsigned(face)); };
    const auto newCube = [&] {
        return newTexture(GL_TEXTURE_CUBE_MAP, 1, [&] {
            for (int face = 0; face < 6; ++face) {
                upload(GL_TEXTURE_CUBE_MAP_POSITIVE_X + GLenum(face), 0, faceOf(face));
            }
        });
    };
    const TextureToken token = tokenFor(newCube());
    const QString direction = "(u_Token, 3.0 * faceDirection(u_Number, uv)";
    for (number = 0; number < 6; ++number) {
        const Pixels expected = is(TextureStrategy::eSampler) ? Pixels(4, 4, kInvalid) : faceOf(number);
        EXPECT_TRUE(shows(token, expected, kHalfByte, "managedTextureCube" + direction + ")")) << number;
        EXPECT_TRUE(shows(token, expected, kHalfByte, "managedTextureCubeLod" + direction + ", 0.0)"))
            << number;
    }
    if (is(TextureStrategy::eBindless)) { // a texture that can still change has no handle
        const TextureToken writable = manager->tokenForTexture(newCube());
        EXPECT_EQ(kInvalid, drawn(writable, "managedTextureCube(u_Token, vec3(1.0, 0.0, 0.0))"));
    }
    EXPECT_EQ(kInvalid, drawn(token, "managedTextureCubeOffset(u_Token, vec3(1.0, 0.0, 0.0), ivec3(0))"));
}

TEST_P(TextureManagerPicturesTest, WhatCannotBeLoadedIsWhite)
{
    EXPECT_EQ(kWhite, drawn(manager->tokenForImage("/nowhere/at all.png", TextureFileInfo())));
    EXPECT_EQ(1, warnings().size());
    const TextureToken red = manager->tokenForColor(QColor(Qt::red)); // not white in the first slot
    const TextureToken unreadable =
        manager->tokenForImage(writeFile(newPath(), "no image"), TextureFileInfo());
    EXPECT_EQ(kWhite, draw({red, unreadable}, unreadable, 1, 1).at(0, 0));
    EXPECT_FALSE(warnings().isEmpty()); // one for every attempt to load it
}

TEST_P(TextureManagerPicturesTest, ListsMayChangeWhileTheyAreBound)
{
    const Pixels glass(1, 1, QVector4D(1.0f, 0.2f, 0.0f, 0.4f));
    QList<TextureToken> tokens;
    Hook<&glTexImage2D> uploads; // of the first colour that is loaded
    uploads.replace([&](auto... arguments) {
        uploads.original(arguments...);
        std::fill(tokens.begin(), tokens.end(), nullTextureToken);
    });
    tokens = {manager->tokenForColor(QColor(Qt::red)), manager->tokenForColor(QColor(255, 51, 0, 102))};
    const QVector<TextureToken> bound = tokens.toVector();
    manager->bind(tokens);
    EXPECT_TRUE(draw({}, bound.last(), 1, 1).isNear(glass, kHalfByte));
    manager->unbind(bound);
}

TEST_P(TextureManagerPicturesTest, ARandomSceneShowsEachTokenInItsColour)
{
    struct Item
    {
        Texture *texture;
        TextureToken token;
        int id;
    };
    const auto colorOf = [](int id, int face) {
        return QVector4D(float(id), float(40 * face), 0.0f, 255.0f) * kByte;
    };
    std::mt19937 engine(7);
    const auto random = [&](int below) { return int(engine() % unsigned(below)); };
    const auto fill = [&](Texture *texture, int id) {
        const bool isCube = texture->target() == GL_TEXTURE_CUBE_MAP;
        // Without slots of a format, they would only be compiled: llvmpipe does so for the formats of all units together.
        const int formatCount = is(TextureStrategy::eSampler) ? 1 : isCube ? 3 : 4;
        const GLint formats[] = {GL_RGBA8, GL_RGBA16F, GL_RG8, GL_R8};
        const GLint format = formats[random(formatCount)];
        const int width = 4 << random(3);
        const int height = isCube ? width : 4 << random(3);
        const AutoBinder binder(texture);
        for (unsigned int face = 0; face < (isCube ? 6 : 1); ++face) {
            upload(isCube ? GL_TEXTURE_CUBE_MAP_POSITIVE_X + face : GL_TEXTURE_2D, 0,
                   Pixels(width, height, colorOf(id, int(face))), format);
        }
    };
    const auto newFilled = [&](GLenum target, int id) {
        Texture *texture = newTexture(
            target, 1, [] {}, random(6) == 0 ? GL_REPEAT : GL_CLAMP_TO_EDGE);
        fill(texture, id);
        if (target == GL_TEXTURE_CUBE_MAP || random(2) != 0) {
            texture->setReadOnly();
        }
        return texture;
    };
    restart(is(TextureStrategy::eArray) ? 5 : 8);
    const TextureToken set = manager->createUDIMToken();
    if (manager
            ->supportsUDIMs()) { // the first patch has the token 2, and no slot may take that for its number
        manager->addUDIMPatch(set, QPoint(0, 0), newFilled(GL_TEXTURE_2D, 200));
        manager->addUDIMPatch(set, QPoint(1, 0), newFilled(GL_TEXTURE_2D, 201));
    }
    std::vector<Item> items;
    int refused = 0;
    for (int step = 0; step < 150 && !HasFailure(); ++step) {
        SCOPED_TRACE(step);
        manager->setSlotReallocationMethod(step / 10 % 2 == 0 ? TextureManager::SlotReallocationUpscale
                                                              : TextureManager::SlotReallocationDownscale);
        if (manager->supportsUDIMs()) {
            EXPECT_TRUE(shows(set, Pixels(1, 1, colorOf(201, 0)), kHalfByte,
                              "managedTexture(u_Token, uv + vec2(1.0, 0.0))"));
        }
        // 1. A new texture, a deleted one, or a changed one, which has no place until it is bound.
        std::shuffle(items.begin(), items.end(), engine);
        const int action = items.size() < 4 ? 0 : random(4);
        if (action < 2 && items.size() < 24) {
            const bool isCube = !is(TextureStrategy::eSampler) && random(6) == 0;
            Texture *texture = newFilled(isCube ? GL_TEXTURE_CUBE_MAP : GL_TEXTURE_2D, step);
            items.push_back({texture, manager->tokenForTexture(texture), step});
        } else if (action == 2 || !items.back().texture->isReadOnly()) {
            const TextureToken token = items.back().token;
            if (action == 2) {
                manager->deleteTexture(*manager->textureTokenMap().find(items.back().texture));
                items.pop_back();
            } else {
                fill(items.back().texture, items.back().id = step);
                manager->dirty(items.back().texture);
            }
            EXPECT_TRUE(!is(TextureStrategy::eArray) || drawnUnbound(token) == kInvalid);
        }
        // 2. A draw of some, of which the first or the last may find no place.
        std::shuffle(items.begin(), items.end(), engine);
        QVector<TextureToken> bound;
        int slotCount = 0;
        bool hasPlace = true;
        const size_t count = 1 + size_t(random(int(std::min<size_t>(items.size(), 12))));
        for (size_t i = 0; i < count; ++i) {
            const bool needsSlot = is(TextureStrategy::eSampler)
                                   || (is(TextureStrategy::eBindless) && !items[i].texture->isReadOnly());
            slotCount += needsSlot;
            hasPlace = !needsSlot || slotCount <= 8;
            bound += items[i].token;
        }
        const auto &[texture, token, id] = items[is(TextureStrategy::eArray) ? 0 : count - 1];
        const bool isCube = texture->target() == GL_TEXTURE_CUBE_MAP;
        const QString cube = "managedTextureCube(u_Token, faceDirection(u_Number, uv))";
        number = isCube ? random(6) : 0;
        warnings();
        const Pixels shown = draw(bound, token, 2, 2, isCube ? cube : kSample);
        const QStringList logged = warnings();
        if (shown.at(0, 0) == kInvalid && !logged.filter("Failed to find slot").isEmpty()) {
            ++refused;
            hasPlace = false;
        }
        EXPECT_TRUE(shown.isNear(Pixels(2, 2, hasPlace ? colorOf(id, number) : kInvalid), kHalfByte));
    }
    EXPECT_EQ(is(TextureStrategy::eArray), refused > 0);
    EXPECT_LT(refused, 50);
}

TEST_P(TextureManagerPicturesTest, ExpressionsWithoutATextureOrAFeatureAreInvalid)
{
    processor.addDefine("DEBUG", "1");
    const bool bindless = is(TextureStrategy::eBindless);
    const Pixels picture = randomPixels(4, 3, 80);
    const TextureToken token = tokenFor(newTexture(picture));
    const TextureToken unknown((bindless ? Q_UINT64_C(0xFFFFFFFF) << 32 : 0) | 1000);
    const QString size = "vec4(managedTextureSize(u_Token), 0.0, 0.0)";
    struct Row
    {
        QString expression;
        QVector4D expected;
        QVector4D withoutTexture;
    };
    std::vector<Row> rows = {{"managedTexture(u_Token, uv)", picture.at(2, 1), kInvalid},
                             {"managedTextureLod(u_Token, uv, 0.0)", picture.at(2, 1), kInvalid},
                             {"vec4(zelIsValidToken(u_Token))", kWhite, QVector4D()}};
    if (canAskForSizes()) {
        rows.push_back({size, QVector4D(4, 3, 0, 0), QVector4D()});
    }
    if (canAskForSizes() || !bindless) {
        rows.push_back({"managedTextureOffset(u_Token, uv, ivec2(1, -1))",
                        bindless ? picture.at(3, 0) : kInvalid, kInvalid});
    }
    for (const auto &[expression, expected, withoutTexture] : rows) {
        EXPECT_TRUE(Pixels(1, 1, drawn(token, expression)).isNear(0, 0, expected, kHalfByte))
            << qPrintable(expression);
        EXPECT_EQ(withoutTexture, drawnUnbound(unknown, expression)) << qPrintable(expression);
        EXPECT_EQ(withoutTexture, drawnUnbound(nullTextureToken, expression)) << qPrintable(expression);
    }
}

TEST_P(ArrayPicturesTest, TheSlotMapReachesItsLastToken)
{
    for (int i = 1; i < 100; ++i) {
        manager->tokenForColor(QColor(2 * i, 0, 0));
    }
    Tap<&glUniform4iv> uploads;
    const bool onlyUniforms = QByteArray(GetParam().name).endsWith("Uniforms");
    for (const int i : {63, onlyUniforms ? 1 : 99}) { // the last ones of the array and of the texture
        EXPECT_TRUE(shows(TextureToken(quint64(i)), Pixels(1, 1, QVector4D(float(2 * i) * kByte, 0, 0, 1))));
    }
    for (const auto &call : uploads.calls()) {
        EXPECT_EQ(128, std::get<1>(call));
    }
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
    EXPECT_EQ(kInvalid, drawnUnbound(set));
    EXPECT_EQ(10u, manager->maxToken().token);
    const TextureToken empty = manager->createUDIMToken();
    EXPECT_EQ(2u, empty.token);
    EXPECT_EQ(kEmptyPatch, drawn(empty));
    for (const quint64 free : {3, 4, 5, 6, 1}) {
        EXPECT_EQ(free, manager->reserveToken().token);
    }
}

TEST_P(ArrayPicturesTest, ScalingAndMergingKeepThePictureOfEveryToken)
{
    restart(2);
    std::vector<std::pair<TextureToken, Pixels>> images;
    const auto add = [&](int side) {
        images.emplace_back(nullTextureToken, randomPixels(side, side, 170 + unsigned(images.size())));
        images.back().first = tokenFor(newTexture(images.back().second));
        drawn(images.back().first);
    };
    for (const int side : {16, 8, 16, 8, 8}) {
        add(side);
    }
    for (int i = 0; i < 2; ++i) { // whose layers take the ones that are merged
        manager->deleteTexture(images.back().first);
        images.pop_back();
    }
    warnings();
    const Pixels newcomer = randomPixels(4, 4, 180);
    EXPECT_TRUE(shows(tokenFor(newTexture(newcomer, GL_RGBA8, GL_REPEAT)), newcomer));
    EXPECT_EQ(QStringList(resizeWarning(16, 8)), warnings()) << "of the slots that are merged";
    const auto expectPictures = [&] {
        for (const auto &[token, picture] : images) {
            EXPECT_TRUE(shows(token, picture.width() == 16 ? halved(picture) : picture, 1.5f * kByte));
        }
    };
    expectPictures();
    add(16);
    EXPECT_EQ(QStringList(resizeWarning(16, 8)), warnings()) << "of the texture";
    expectPictures();
    restart(1);
    const Pixels picture = randomPixels(4, 4, 190);
    EXPECT_TRUE(shows(tokenFor(newTexture(picture)), picture));
    EXPECT_TRUE(shows(tokenFor(newTexture(picture, GL_SRGB8_ALPHA8)), picture, kByte))
        << "undecoded, since the only slot is a plain one";
    EXPECT_EQ(QStringList(resizeWarning(4, 4)), warnings());
}

TEST_P(ArrayPicturesTest, LevelsThatASourceLacksAreMadeFromTheOnesAbove)
{
    const QString fetch = "managedTexelFetch(u_Token, ivec2(gl_FragCoord.xy), u_Number)";
    const Pixels picture = randomPixels(8, 4, 200);
    const Pixels half = halved(picture);
    const Pixels own(4, 2, kWhite);
    for (const auto &[levels, second] : {std::pair(1, half), std::pair(21, own), std::pair(22, half)}) {
        // More than 21 levels: GL's default, without a chain.
        const TextureToken token = tokenFor(newTexture(GL_TEXTURE_2D, levels, [&] {
            upload(GL_TEXTURE_2D, 0, picture);
            for (int level = 1; level < 4; ++level) {
                upload(GL_TEXTURE_2D, level, Pixels(8 >> level, std::max(4 >> level, 1), kWhite));
            }
        }));
        number = 1;
        EXPECT_TRUE(shows(token, second, 1.5f * kByte, fetch)) << levels;
        number = 2;
        EXPECT_TRUE(shows(token, halved(second), 2 * kByte, fetch)) << levels;
    }
    restart(1, TextureManager::SlotReallocationUpscale);
    const Pixels image = randomPixels(64, 64, 201);
    EXPECT_TRUE(shows(tokenFor(image), image));
    const TextureToken color = manager->tokenForColor(QColor(255, 51, 0)); // one level, of a maximum of 4
    for (number = 0; number < 7; ++number) {
        EXPECT_TRUE(shows(color, Pixels(1, 1, QVector4D(1.0f, 0.2f, 0.0f, 1.0f)), kHalfByte, fetch))
            << number;
    }
    EXPECT_EQ(QStringList(resizeWarning(1, 64)), warnings());
}

TEST_P(ArrayPicturesTest, TheDebugViewShowsAllSlotsWithTheirLayers)
{
    if (!canAskForSizes()) {
        GTEST_SKIP() << "Needs a driver other than zink, which crashes on the size of a bindless handle";
    }
    restart(2);
    const QVector4D red(1, 0, 0, 1);
    const QVector4D blue(0, 0, 1, 1);
    const TextureToken first = tokenFor(newTexture(Pixels(4, 4, red)));
    const TextureToken second = tokenFor(newTexture(Pixels(4, 4, blue)));
    const TextureToken other = tokenFor(newTexture(Pixels(2, 2, kWhite), GL_RGBA16F));
    EXPECT_EQ(red, draw({first, second, other}, first, 1, 1).at(0, 0));
    const Pixels view = draw({first, second, other}, first, 4, 100, "textureGetDebug(uv)");
    EXPECT_TRUE(view.isNear(1, 0, QVector4D(0, 0, 0, 1), 0.0f)) << "the bar over the first slot";
    EXPECT_TRUE(view.isNear(2, 0, QVector4D(0.5f, 0, 0, 1), 0.0f)) << "the bar over the second";
    EXPECT_TRUE(view.isNear(1, 25, red, 0.0f));
    EXPECT_TRUE(view.isNear(1, 75, blue, 0.0f));
    EXPECT_TRUE(view.isNear(3, 50, kWhite, 0.0f));
    EXPECT_EQ(QVector4D(),
              drawn(first, "textureGetDebug(vec2(1.0, 0.5)) + textureGetDebug(vec2(0.5, 1.01))"));
}
