#include "support/GLFixture.h"
#include "support/Pixels.h"
#include "support/StateGuard.h"
#include "support/Tap.h"
#include "support/TextureParameter.h"

#include <ZelGL/FramebufferObject.h>
#include <ZelGL/GLUtilities.h>
#include <ZelGL/OpenGLDeviceContext.h>
#include <ZelGL/ShaderProgram.h>
#include <ZelGL/Texture.h>
#include <ZelGL/TextureProcessing.h>

#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <cmath>
#include <functional>
#include <random>

using namespace Orvane::Zel;

namespace {

constexpr int kWidth = 8;
constexpr int kHeight = 4;

class TextureProcessingTest : public GLTest
{
protected:
    TextureProcessingTest() { OpenGLDeviceContext::current()->fullscreenQuad(); }

    ~TextureProcessingTest() override { OpenGLDeviceContext::resetContext(); }

    /// Random colours of 0 to 1, the ends among them; the same at each call.
    static Pixels source()
    {
        std::mt19937 random(5);
        const auto channel = [&random] { return float(random() % 1025) / 1024.0f; };
        Pixels pixels = Pixels::of(kWidth, kHeight, [&](int, int) {
            return QVector4D{channel(), channel(), channel(), channel()};
        });
        pixels.at(0, 0) = {0.0f, 0.0f, 0.0f, 0.0f};
        pixels.at(1, 0) = {1.0f, 1.0f, 1.0f, 1.0f};
        return pixels;
    }

    static Texture *newTexture(const Pixels &pixels)
    {
        std::vector<QVector4D> data;
        for (int y = 0; y < pixels.height(); ++y) {
            for (int x = 0; x < pixels.width(); ++x) {
                data.push_back(pixels.at(x, y));
            }
        }
        auto *texture = new Texture(nullptr);
        texture->create2D(GL_TEXTURE_2D, GL_RGBA32F, pixels.width(), pixels.height());
        texture->bind();
        driver()->glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, pixels.width(), pixels.height(), GL_RGBA, GL_FLOAT,
                                  data.data());
        texture->unbind();
        return texture;
    }

    /// Runs a pass and compares each pixel with what the function makes of the source at x, y.
    static void expectPass(const std::function<bool(Texture *&)> &pass,
                           const std::function<QVector4D(const Pixels &, int, int)> &expected)
    {
        const Pixels before = source();
        Texture *const old = newTexture(before);
        Texture *texture = old;
        ASSERT_TRUE(pass(texture));
        EXPECT_EQ(1, Texture::NumAlive()) << "the old texture is deleted";
        const Pixels after =
            Pixels::of(kWidth, kHeight, [&](int x, int y) { return expected(before, x, y); });
        EXPECT_TRUE(Pixels::ofTexture(GL_TEXTURE_2D, texture->textureID()).isNear(after, 1e-5f));
        delete texture;
    }

    static QVector4D each(const QVector4D &color, float alpha, const std::function<float(float)> &function)
    {
        return {function(color.x()), function(color.y()), function(color.z()), alpha};
    }
};

} // namespace

TEST_F(TextureProcessingTest, EveryPassMapsItsColours)
{
    const auto decode = [](float value) { return std::pow((value + 0.055f) / 1.055f, 2.4f); };
    const auto encode = [](float value) { return 1.055f * std::pow(value, 1.0f / 2.4f) - 0.055f; };
    expectPass(SrgbToLinear, [&](const Pixels &before, int x, int y) {
        const QVector4D color = before.at(x, y);
        return each(color, decode(color.w()), decode); // alpha too
    });
    expectPass(LinearToSrgb, [&](const Pixels &before, int x, int y) {
        return each(before.at(x, y), before.at(x, y).w(), encode);
    });
    expectPass(Premultiply, [](const Pixels &before, int x, int y) {
        const float alpha = before.at(x, y).w();
        return each(before.at(x, y), alpha, [&](float value) { return value * alpha; });
    });
    expectPass(FlipY, [](const Pixels &before, int x, int y) { return before.at(x, kHeight - 1 - y); });
    expectPass([](Texture *&texture) { return RemapColorRange(texture, 0.2f, 0.8f); },
               [](const Pixels &before, int x, int y) {
                   return each(before.at(x, y), before.at(x, y).w(),
                               [](float value) { return value * 0.6f + 0.2f; });
               });
}

TEST_F(TextureProcessingTest, RemapColorRangeOfTheIdentityDoesNothing)
{
    const Tap<&glCreateProgram> programs;
    Texture *nothing = nullptr;
    EXPECT_FALSE(RemapColorRange(nothing, 0.2f, 0.8f));
    const std::unique_ptr<Texture> kept(newTexture(source()));
    Texture *texture = kept.get();
    EXPECT_FALSE(RemapColorRange(texture, 0.0f, 1.0f));
    EXPECT_EQ(kept.get(), texture);
    EXPECT_EQ(0u, programs.count());
    EXPECT_FALSE(FlipY(nothing)) << "no texture, no result";
    EXPECT_EQ(nullptr, nothing);

    Texture *other = newTexture(source()); // a NaN is not the identity
    EXPECT_TRUE(RemapColorRange(other, std::nanf(""), 1.0f));
    EXPECT_TRUE(std::isnan(Pixels::ofTexture(GL_TEXTURE_2D, other->textureID()).at(0, 0).x()));
    delete other;
}

TEST_F(TextureProcessingTest, AWritableCopyHasTheSamplerStateAndTheFormat)
{
    const std::unique_ptr<Texture> texture(newTexture(source()));
    const std::map<GLenum, GLint> state = {{GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_NEAREST},
                                           {GL_TEXTURE_MAG_FILTER, GL_LINEAR},
                                           {GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE},
                                           {GL_TEXTURE_WRAP_T, GL_MIRRORED_REPEAT},
                                           {GL_TEXTURE_BASE_LEVEL, 0},
                                           {GL_TEXTURE_MAX_LEVEL, 2}};
    texture->bind();
    for (const auto &entry : state) {
        driver()->glTexParameteri(GL_TEXTURE_2D, entry.first, entry.second);
    }
    driver()->glGenerateMipmap(GL_TEXTURE_2D);
    texture->unbind();

    const std::unique_ptr<Texture> copy(WritableCopyOfTexture(texture.get(), 0, 0));
    const std::unique_ptr<Texture> level(WritableCopyOfTexture(texture.get(), GL_R8, 1));
    for (const auto &entry : state) {
        EXPECT_EQ(entry.second, textureParameter(*copy, entry.first)) << entry.first;
    }
    ASSERT_TRUE(copy->bind());
    EXPECT_EQ(GL_RGBA32F, copy->internalFormat(0));
    EXPECT_EQ(kWidth, copy->width(0));
    EXPECT_EQ(kHeight, copy->height(0));
    EXPECT_EQ(1, copy->dimensionLevelSize(kWidth, 3)) << "level 0 is on record";
    copy->unbind();
    ASSERT_TRUE(level->bind());
    EXPECT_EQ(GL_R8, level->internalFormat(1));
    EXPECT_EQ(kWidth / 2, level->width(1));
    EXPECT_EQ(0, level->width(0));
    EXPECT_EQ(0, level->dimensionLevelSize(kWidth, 1)) << "other levels are not";
    level->unbind();
}

TEST_F(TextureProcessingTest, ACompressedTextureIsFlippedIntoAPlainOne)
{
    // Two rows of one block each: the lower all 255, the upper all 0.
    const unsigned char blocks[16] = {255, 255, 0, 0, 0, 0, 0, 0};
    auto *texture = new Texture(nullptr);
    texture->setTarget(GL_TEXTURE_2D);
    texture->bind();
    driver()->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    driver()->glCompressedTexImage2D(GL_TEXTURE_2D, 0, GL_COMPRESSED_RED_RGTC1, 4, 8, 0, sizeof(blocks),
                                     blocks);
    texture->unbind();
    ASSERT_TRUE(FlipY(texture));
    texture->bind();
    EXPECT_EQ(GL_RGBA, texture->internalFormat(0));
    EXPECT_EQ(0, texture->getTexLevelParameteriv(0, GL_TEXTURE_COMPRESSED));
    texture->unbind();
    const Pixels pixels = Pixels::ofTexture(GL_TEXTURE_2D, texture->textureID());
    EXPECT_TRUE(pixels.isNear(1, 1, {0.0f, 0.0f, 0.0f, 1.0f}, 0.0f));
    EXPECT_TRUE(pixels.isNear(1, 6, {1.0f, 0.0f, 0.0f, 1.0f}, 0.0f));
    delete texture;
}

TEST_F(TextureProcessingTest, APassLeavesAFullMipChainAndTheStatedState)
{
    Texture *texture = newTexture(Pixels(kWidth, kHeight, {0.25f, 0.5f, 0.75f, 1.0f}));
    driver()->glEnable(GL_BLEND);
    driver()->glDisable(GL_DEPTH_TEST);
    driver()->glDepthMask(GL_FALSE);
    driver()->glViewport(0, 0, 100, 100);
    driver()->glClearColor(1.0f, 1.0f, 1.0f, 1.0f);
    const StateGuard before;
    ASSERT_TRUE(FlipY(texture));
    EXPECT_EQ(
        QStringList({"GL_BLEND 1 -> 0", "GL_COLOR_CLEAR_VALUE 1 1 1 1 -> 0 0 0 0", "GL_DEPTH_TEST 0 -> 1",
                     "GL_DEPTH_WRITEMASK 0 -> 1", "GL_VIEWPORT 0 0 100 100 -> 0 0 8 4"}),
        before.changes());
    for (int level = 0; level < 4; ++level) {
        const Pixels pixels = Pixels::ofTexture(GL_TEXTURE_2D, texture->textureID(), level);
        EXPECT_EQ(kWidth >> level, pixels.width());
        EXPECT_TRUE(pixels.isNear(0, 0, {0.25f, 0.5f, 0.75f, 1.0f}, 1e-6f)) << level;
    }
    EXPECT_EQ(0, FramebufferObject::NumAlive());
    delete texture;
    driver()->glDisable(GL_DEPTH_TEST);
}

TEST_F(TextureProcessingTest, AProgramThatCannotBeMadeLeavesTheTextureInPlace)
{
    const QString warning = "warning [TextureProcessing.cpp:#] shader program failed to ";
    Hook<&glCompileShader> compile;
    compile.replace([](GLuint) {}); // never compiled
    const std::unique_ptr<Texture> kept(newTexture(source()));
    Texture *texture = kept.get();
    EXPECT_FALSE(FlipY(texture));
    EXPECT_EQ(kept.get(), texture);
    _capture.take();
    compile.replace(nullptr);

    const auto lastMessage = [this] {
        const QVector<Message> messages = _capture.take();
        return messages.isEmpty() ? QString() : messages.last().toString();
    };
    EXPECT_EQ(nullptr, MakeTextureShaderFromString("#version 150\nthis is not GLSL\n"));
    EXPECT_EQ(warning + "compile:", lastMessage().section('\n', 0, 0));
    EXPECT_EQ(nullptr,
              MakeTextureShaderFromString("#version 150\nvoid missing();\nvoid main() { missing(); }\n"));
    EXPECT_EQ(warning + "link:", lastMessage().section('\n', 0, 0));

    EXPECT_FALSE(TestContext::takeDriverReports().isEmpty());

    const std::unique_ptr<ShaderProgram> program(MakeTextureShaderFromFile("no such file"));
    EXPECT_MESSAGES("warning [ShaderProgram.cpp:#] Couldn't find shader source file 'no such file'");
}

TEST_F(TextureProcessingTest, ABlitTakesOverColourDepthOrBothOfDepthAndStencil)
{
    const auto filled = [](unsigned int internalFormat, GLenum format, GLenum type, const void *data) {
        auto texture = std::make_unique<Texture>(nullptr);
        texture->setTarget(GL_TEXTURE_2D);
        texture->bind();
        driver()->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        driver()->glTexImage2D(GL_TEXTURE_2D, 0, GLint(internalFormat), 2, 2, 0, format, type, data);
        texture->unbind();
        return texture;
    };
    const auto contents = [](Texture &texture, GLenum format, GLenum type) {
        std::vector<quint32> words(4);
        texture.bind();
        driver()->glGetTexImage(GL_TEXTURE_2D, 0, format, type, words.data());
        texture.unbind();
        return words;
    };
    const quint32 ones[4] = {0x11223344, 0x55667788, 0x99AABBCC, 0xDDEEFF00};
    const float depths[4] = {0.125f, 0.25f, 0.5f, 1.0f};
    const quint32 zeros[4] = {};
    struct Case
    {
        TextureFormat format;
        const void *data;
    };
    for (const Case &c : {Case{RGBA, ones}, Case{DEPTH32F, depths}, Case{DEPTH24_STENCIL8, ones}}) {
        const unsigned int internalFormat = SizedInternalFormat(c.format);
        const auto from = filled(internalFormat, ExternalFormat(c.format), ExternalType(c.format), c.data);
        const auto to = filled(internalFormat, ExternalFormat(c.format), ExternalType(c.format), zeros);
        const StateGuard before;
        BlitTexture(from.get(), to.get(), c.format, 2, 1);
        EXPECT_EQ(QStringList(), before.changes());
        const auto expected = contents(*from, ExternalFormat(c.format), ExternalType(c.format));
        const auto actual = contents(*to, ExternalFormat(c.format), ExternalType(c.format));
        EXPECT_NE(0u, expected[0]);
        EXPECT_EQ((std::vector<quint32>{expected[0], expected[1], 0, 0}), actual) << c.format;
    }
    EXPECT_EQ(0, FramebufferObject::NumAlive());
}
