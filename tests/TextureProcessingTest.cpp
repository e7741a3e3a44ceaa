#include "support/GLFixture.h"
#include "support/HostRaster.h"
#include "support/Tap.h"
#include "support/TextureParameter.h"

#include <ZelGL/ZelGL.h>

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

    /// Random colours from 0 to 1, including both ends; the same at each call.
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

    static Texture *newTexture(const Pixels &pixels, GLenum format = GL_RGBA32F)
    {
        auto *texture = new Texture(nullptr);
        texture->create2D(GL_TEXTURE_2D, format, pixels.width(), pixels.height());
        texture->bind();
        driver()->glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, pixels.width(), pixels.height(), GL_RGBA, GL_FLOAT,
                                  pixels.data());
        texture->unbind();
        return texture;
    }
};

} // namespace

TEST_F(TextureProcessingTest, EveryPassMapsItsColoursAndReplacesTheTexture)
{
    const auto each = [](const QVector4D &color, float alpha, const std::function<float(float)> &function) {
        return QVector4D(function(color.x()), function(color.y()), function(color.z()), alpha);
    };
    const auto decode = [](float value) { return std::pow((value + 0.055f) / 1.055f, 2.4f); };
    const auto encode = [](float value) { return 1.055f * std::pow(value, 1.0f / 2.4f) - 0.055f; };
    const auto remap = [](float value) { return value * 0.6f + 0.2f; };
    struct Pass
    {
        bool (*run)(Texture *&);
        std::function<QVector4D(const QVector4D &)> expected;
    };
    const Pass passes[] = {
        {SrgbToLinear, [&](const QVector4D &color) { return each(color, decode(color.w()), decode); }},
        {LinearToSrgb, [&](const QVector4D &color) { return each(color, color.w(), encode); }},
        {Premultiply,
         [](const QVector4D &color) { return QVector4D(color.toVector3D() * color.w(), color.w()); }},
        {[](Texture *&texture) { return RemapColorRange(texture, 0.2f, 0.8f); },
         [&](const QVector4D &color) { return each(color, color.w(), remap); }},
        {FlipY, [](const QVector4D &color) { return color; }},
        {[](Texture *&texture) {
             const std::unique_ptr<Texture> from(texture);
             texture = WritableCopyOfTexture(from.get(), 0, 0);
             const std::unique_ptr<ShaderProgram> program(MakeTextureShaderFromString(
                 "#version 150\nuniform sampler2D u_Src;\nuniform float u_Scale;\nin vec2 vo_TexCoord;\n"
                 "out vec4 out_FragColor;\n"
                 "void main() { out_FragColor = u_Scale * texture(u_Src, vo_TexCoord); }\n"));
             ProcessTexture(program.get(), {{"u_Scale", 0.5f}}, from.get(), texture);
             return true;
         },
         [](const QVector4D &color) { return 0.5f * color; }}};
    const Pixels before = source();
    for (const Pass &pass : passes) {
        Texture *texture = newTexture(before);
        ASSERT_TRUE(pass.run(texture));
        EXPECT_EQ(1, Texture::NumAlive()) << "the old texture is deleted";
        const Pixels after = Pixels::of(kWidth, kHeight, [&](int x, int y) {
            return pass.expected(before.at(x, pass.run == FlipY ? kHeight - 1 - y : y));
        });
        EXPECT_TRUE(pixelsOf(*texture).isNear(after, 1e-5f));
        delete texture;
    }
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
    EXPECT_TRUE(std::isnan(pixelsOf(*other).at(0, 0).x()));
    delete other;
}

TEST_F(TextureProcessingTest, AWritableCopyHasTheSamplerStateAndTheFormat)
{
    const std::unique_ptr<Texture> texture(newTexture(source()));
    texture->bind();
    for (const auto &[name, value] :
         {std::pair(GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_NEAREST),
          std::pair(GL_TEXTURE_MAG_FILTER, GL_LINEAR), std::pair(GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE),
          std::pair(GL_TEXTURE_WRAP_T, GL_MIRRORED_REPEAT), std::pair(GL_TEXTURE_MAX_LEVEL, 2)}) {
        driver()->glTexParameteri(GL_TEXTURE_2D, GLenum(name), value);
    }
    driver()->glGenerateMipmap(GL_TEXTURE_2D);
    texture->unbind();

    const std::unique_ptr<Texture> copy(WritableCopyOfTexture(texture.get(), 0, 0));
    const std::unique_ptr<Texture> level(WritableCopyOfTexture(texture.get(), GL_R8, 1));
    EXPECT_EQ(
        (std::vector<GLint>{GL_LINEAR_MIPMAP_NEAREST, GL_LINEAR, GL_CLAMP_TO_EDGE, GL_MIRRORED_REPEAT, 0, 2}),
        samplingOf(*copy));
    EXPECT_EQ(GL_RGBA32F, levelParameter(*copy, 0, GL_TEXTURE_INTERNAL_FORMAT));
    EXPECT_EQ(kWidth, levelParameter(*copy, 0, GL_TEXTURE_WIDTH));
    EXPECT_EQ(kHeight, levelParameter(*copy, 0, GL_TEXTURE_HEIGHT));
    EXPECT_EQ(1, copy->dimensionLevelSize(kWidth, 3)) << "level 0 is on record";
    EXPECT_EQ(GL_R8, levelParameter(*level, 1, GL_TEXTURE_INTERNAL_FORMAT));
    EXPECT_EQ(kWidth / 2, levelParameter(*level, 1, GL_TEXTURE_WIDTH));
    EXPECT_EQ(0, levelParameter(*level, 0, GL_TEXTURE_WIDTH));
    EXPECT_EQ(0, level->dimensionLevelSize(kWidth, 1)) << "other levels are not";
}

TEST_F(TextureProcessingTest, APassKeepsEncodedColoursAndLeavesAFullMipChain)
{
    for (const GLenum format : {GL_SRGB8_ALPHA8, GL_RGBA8}) {
        Texture *texture = newTexture(Pixels(kWidth, kHeight, {0.2f, 0.4f, 0.8f, 1.0f}), format);
        const HostRaster host;
        driver()->glEnable(GL_BLEND);
        driver()->glViewport(0, 0, 100, 100);
        ASSERT_TRUE(FlipY(texture));
        for (int level = 0; level < 4; ++level) {
            const Pixels pixels = pixelsOf(*texture, level);
            EXPECT_EQ(kWidth >> level, pixels.width());
            EXPECT_TRUE(pixels.isNear(0, 0, {0.2f, 0.4f, 0.8f, 1.0f}, 0.003f)) << format << ' ' << level;
        }
        delete texture;
    }
    driver()->glDisable(GL_DEPTH_TEST);
}

TEST_F(TextureProcessingTest, TexturesThatNoPassCanDrawStayAsTheyAre)
{
    const std::pair<GLint, GLenum> rows[] = {
        {GL_RGBA4, GL_RGBA},           {GL_RGB9_E5, GL_RGB},
        {GL_RGBA8_SNORM, GL_RGBA},     {GL_RGBA8UI, GL_RGBA_INTEGER},
        {GL_RGBA32I, GL_RGBA_INTEGER}, {GL_DEPTH_COMPONENT16, GL_DEPTH_COMPONENT}};
    for (const auto &[internalFormat, format] : rows) {
        const std::unique_ptr<Texture> kept = std::make_unique<Texture>(nullptr);
        kept->setTarget(GL_TEXTURE_2D);
        kept->bind();
        driver()->glTexImage2D(GL_TEXTURE_2D, 0, internalFormat, 4, 4, 0, format,
                               format == GL_RGBA_INTEGER ? GL_INT : GL_FLOAT, nullptr);
        kept->unbind();
        Texture *texture = kept.get();
        EXPECT_FALSE(FlipY(texture)) << internalFormat;
        ASSERT_EQ(kept.get(), texture) << internalFormat;
        _capture.take(); // messages of formats that the tables do not list
    }
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

    const auto lastMessage = [this] { return _capture.takeTexts().last().section('\n', 0, 0); };
    EXPECT_EQ(nullptr, MakeTextureShaderFromString("#version 150\nthis is not GLSL\n"));
    EXPECT_EQ(warning + "compile:", lastMessage());
    EXPECT_EQ(nullptr,
              MakeTextureShaderFromString("#version 150\nvoid missing();\nvoid main() { missing(); }\n"));
    EXPECT_EQ(warning + "link:", lastMessage());
    EXPECT_FALSE(TestContext::takeDriverReports().isEmpty());

    const std::unique_ptr<ShaderProgram> program(MakeTextureShaderFromFile("no such file"));
    EXPECT_MESSAGES("warning [ShaderProgram.cpp:#] Couldn't find shader source file 'no such file'");
}

TEST_F(TextureProcessingTest, ABlitTakesOverColourDepthOrBothOfDepthAndStencil)
{
    const std::vector<quint32> ones = {0x11223344, 0x55667788, 0x99AABBCC, 0xDDEEFF00};
    const std::vector<quint32> depths = {0x3E000000, 0x3E800000, 0x3F000000, 0x3F800000}; // floats up to 1
    const AutoEnabler scissorTest(GL_SCISSOR_TEST);
    driver()->glScissor(0, 0, 1, 1);
    for (const auto &[kind, texels] :
         {std::pair(RGBA, ones), std::pair(DEPTH32F, depths), std::pair(DEPTH24_STENCIL8, ones)}) {
        const GLenum format = ExternalFormat(kind);
        const GLenum type = ExternalType(kind);
        Texture from(nullptr);
        Texture to(nullptr);
        for (const auto &[texture, data] :
             {std::pair(&from, texels), std::pair(&to, std::vector<quint32>(4))}) {
            texture->setTarget(GL_TEXTURE_2D);
            const AutoBinder binder(texture);
            driver()->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
            driver()->glTexImage2D(GL_TEXTURE_2D, 0, GLint(SizedInternalFormat(kind)), 2, 2, 0, format, type,
                                   data.data());
        }
        const auto contents = [format, type](Texture &texture) {
            std::vector<quint32> words(4);
            const AutoBinder binder(&texture);
            driver()->glGetTexImage(GL_TEXTURE_2D, 0, format, type, words.data());
            return words;
        };
        BlitTexture(&from, &to, kind, 2, 1);
        const std::vector<quint32> expected = contents(from);
        EXPECT_NE(0u, expected[0]);
        EXPECT_EQ((std::vector<quint32>{expected[0], expected[1], 0, 0}), contents(to)) << kind;
    }
}
