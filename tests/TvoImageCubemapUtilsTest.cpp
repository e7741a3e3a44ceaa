// Environment images to cube maps and back. Most tests compare by direction: each direction n has its own colour, 0.5 n + 0.5.

#include "support/GLFixture.h"
#include "support/HostRaster.h"
#include "support/Pixels.h"
#include "support/TextureParameter.h"
#include "support/Vec.h"

#include <ZelGL/AutoBinder.h>
#include <ZelGL/OpenGLDeviceContext.h>
#include <ZelGL/TvoImageCubemapUtils.h>

#include <cmath>
#include <functional>
#include <memory>
#include <vector>

using namespace Orvane::Zel;
using namespace TvoImageCubemapUtils;

namespace {

constexpr int kFace = 16;
constexpr double kPi = 3.14159265358979;

using TexturePointer = std::unique_ptr<Texture>;

QVector4D colorOf(const Vec &direction)
{
    const Vec n = normalized(direction);
    return {0.5f * float(n.x) + 0.5f, 0.5f * float(n.y) + 0.5f, 0.5f * float(n.z) + 0.5f, 1.0f};
}

/// An image with the sky in its first row and +x at its left end.
QVector4D latLong(double u, double v)
{
    const double theta = 2 * kPi * u;
    const double phi = kPi * v;
    return colorOf({std::sin(phi) * std::cos(theta), std::cos(phi), std::sin(phi) * std::sin(theta)});
}

/// A strip with the sky at the top.
QVector4D strip(double u, double v)
{
    const int face = std::min(int(u * 6), 5);
    return colorOf(directionOfFace(face, u * 6 - face, v));
}

/// An image that shows which place is read.
QVector4D places(double u, double v)
{
    return {float(u), float(v), 0, 1};
}

class TvoImageCubemapUtilsTest : public GLTest
{
protected:
    TvoImageCubemapUtilsTest() { OpenGLDeviceContext::current()->fullscreenQuad(); }

    ~TvoImageCubemapUtilsTest() override { OpenGLDeviceContext::resetContext(); }

    /// The colour at a place of an image, 0 to 1.
    using Colors = std::function<QVector4D(double u, double v)>;
    using ColorsOfDirections = std::function<QVector4D(const Vec &)>;

    static Pixels pixels(int width, int height, const Colors &colorAt)
    {
        return Pixels::of(width, height,
                          [&](int x, int y) { return colorAt((x + 0.5) / width, (y + 0.5) / height); });
    }

    static Pixels pixelsOfFace(int face, int size, const ColorsOfDirections &colorAt)
    {
        return pixels(size, size, [&](double u, double v) { return colorAt(directionOfFace(face, u, v)); });
    }

    static TexturePointer image(int width, int height, const Colors &colorAt, GLenum format = GL_RGBA32F)
    {
        auto texture = std::make_unique<Texture>(GL_TEXTURE_2D, format, width, height, 0, nullptr);
        const AutoBinder bound(texture.get());
        driver()->glTexImage2D(GL_TEXTURE_2D, 0, GLint(format), width, height, 0, GL_RGBA, GL_FLOAT,
                               pixels(width, height, colorAt).data());
        return texture;
    }

    static TexturePointer cube(int size, const ColorsOfDirections &colorAt)
    {
        auto texture = std::make_unique<Texture>(GL_TEXTURE_CUBE_MAP, GL_RGBA32F, size, size, 0, nullptr);
        const AutoBinder bound(texture.get());
        for (int face = 0; face < 6; ++face) {
            driver()->glTexImage2D(GL_TEXTURE_CUBE_MAP_POSITIVE_X + unsigned(face), 0, GL_RGBA32F, size, size,
                                   0, GL_RGBA, GL_FLOAT, pixelsOfFace(face, size, colorAt).data());
        }
        driver()->glGenerateMipmap(GL_TEXTURE_CUBE_MAP);
        return texture;
    }

    /// Takes the messages of a render.
    TexturePointer converted(Texture *source, TvoImageCubemapSourceType type, int maxSize = 0)
    {
        TexturePointer result(
            createGLCubemapFromTexture(source, type, GL_TEXTURE_CUBE_MAP, eColorSpaceLinear, maxSize));
        EXPECT_NE(nullptr, result);
        EXPECT_MESSAGES(startsWith("debug [TvoImageCubemapUtils.cpp:#] rendercubemap() took "));
        return result;
    }

    static int sizeOf(Texture &texture, int level = 0)
    {
        return levelParameter(texture, level, GL_TEXTURE_WIDTH);
    }

    static testing::AssertionResult facesAre(const Texture &cube, int size, float tolerance,
                                             const ColorsOfDirections &colorAt = colorOf, int level = 0)
    {
        for (int face = 0; face < 6; ++face) {
            const auto result = Pixels::ofTexture(GL_TEXTURE_CUBE_MAP, cube.textureID(), level, face)
                                    .isNear(pixelsOfFace(face, size, colorAt), tolerance);
            if (!result) {
                return testing::AssertionFailure() << "face " << face << ": " << result.message();
            }
        }
        return testing::AssertionSuccess();
    }
};

} // namespace

TEST_F(TvoImageCubemapUtilsTest, NamesOfLayouts)
{
    const QStringList names{"None", "Cubemap", "Sphere", "LatLong", "Linear", "Cross"};
    for (int type = 0; type < names.size(); ++type) {
        EXPECT_EQ(names[type], typeAsString(TvoImageCubemapSourceType(type)));
        EXPECT_EQ(type, typeFromString(names[type]));
    }
    EXPECT_EQ("Unknown", typeAsString(TvoImageCubemapSourceType(6)));
    EXPECT_EQ(eSourceNone, typeFromString("Cylinder"));
    EXPECT_EQ((QList<TvoImageCubemapSourceType>{eSourceNone, eSourceLatLong, eSourceCross, eSourceLinear}),
              supportedTypes());
    EXPECT_TRUE(canFileSupport3DCubemap("/a/sky.v2.DDS") && !canFileSupport3DCubemap("/a/dds"));
}

TEST_F(TvoImageCubemapUtilsTest, ImagesComeOutByDirectionAndStripsGoBackUpsideDown)
{
    const struct
    {
        TvoImageCubemapSourceType type;
        int width, height, maxSize;
        float tolerance;
        Colors source;
        QVector4D seen; ///< components
        GLenum format;
    } rows[] = {
        {eSourceLatLong, 256, 128, 15, 0.02f, latLong, {1, 1, 1, 1}, GL_RGBA32F}, // 0.7 degrees off at most
        {eSourceSphere, 256, 256, 15, 1.0f / 256, places, {1, 1, 0, 1}, GL_RGBA32F},
        {eSourceLinear, 96, 16, 0, 0.003f, strip, {1, 1, 1, 1}, GL_SRGB8_ALPHA8}}; // keeps the encoded values
    TexturePointer result;
    for (const auto &row : rows) {
        SCOPED_TRACE(row.type);
        const auto source = image(row.width, row.height, row.source, row.format);
        auto host = std::make_unique<HostRaster>();
        result = converted(source.get(), row.type, row.maxSize);
        host.reset();
        const int size = row.maxSize > 0 ? row.maxSize : kFace;
        EXPECT_TRUE(
            facesAre(*result, size, row.tolerance, [&](const Vec &d) { return row.seen * colorOf(d); }));
        EXPECT_EQ(GL_REPEAT, textureParameter(*source, GL_TEXTURE_WRAP_T)); // as before the render
        EXPECT_EQ(GL_NEAREST, textureParameter(*source, GL_TEXTURE_MAG_FILTER));
        EXPECT_EQ(size / 2, sizeOf(*result, 1));
        EXPECT_EQ(GL_LINEAR_MIPMAP_LINEAR, textureParameter(*result, GL_TEXTURE_MIN_FILTER));
        EXPECT_EQ(GL_CLAMP_TO_EDGE, textureParameter(*result, GL_TEXTURE_WRAP_R));
        const Pixels top = Pixels::ofTexture(GL_TEXTURE_CUBE_MAP, result->textureID(), 3, 2);
        EXPECT_GT(top.at(0, 0).y(), 0.8f) << "the chain is not that of the faces";
    }
    // The resulting strip has its lowest row first, unlike the source.
    auto host = std::make_unique<HostRaster>();
    const TexturePointer back(createGLCubemapStripFromTexture(result.get(), 0));
    host.reset();
    ASSERT_NE(nullptr, back);
    EXPECT_FALSE(back->isBound());
    const Pixels expected = pixels(6 * kFace, kFace, [](double u, double v) { return strip(u, 1 - v); });
    EXPECT_TRUE(Pixels::ofTexture(GL_TEXTURE_2D, back->textureID()).isNear(expected, 0.003f));
}

TEST_F(TvoImageCubemapUtilsTest, CrossesGiveWhatTheirMatrixGives)
{
    const struct
    {
        int cellX, cellY;
        double t[6];
    } rows[] = {{2, 1, {0, 0, 0, -1, -1, 0}}, {0, 1, {0, 0, 0, -1, 1, 0}}, {1, 0, {1, 0, 0, 0, 0, 1}},
                {1, 2, {1, 0, 0, 0, 0, -1}},  {1, 1, {1, 0, 0, -1, 0, 0}}, {3, 1, {-1, 0, 0, -1, 0, 0}},
                {1, 3, {1, 0, 0, 1, 0, 0}}}; // -z of the high layout
    for (const bool isWide : {true, false}) {
        const auto source = image(isWide ? 64 : 48, isWide ? 48 : 64, places);
        const auto result = converted(source.get(), eSourceCross);
        ASSERT_EQ(16, sizeOf(*result));
        const double sx = 0.5 / (isWide ? 4 : 3);
        const double sy = 0.5 / (isWide ? 3 : 4);
        for (int i = 0; i < 6; ++i) {
            const auto &row = rows[i == 5 && !isWide ? 6 : i];
            const double *t = row.t;
            const Pixels face = Pixels::ofTexture(GL_TEXTURE_CUBE_MAP, result->textureID(), 0, i);
            for (const int x : {1, 5, 14}) {
                const int y = 15 - x / 2;
                const Vec n = directionOfFace(i, (x + 0.5) / 16, (y + 0.5) / 16);
                // The eight numbers fill the matrix row by row: four in the first row, four in the second.
                const double u = t[0] * sx * n.x + t[1] * sy * n.y + t[2] * sx * n.z + t[3] * sy;
                const double v = t[4] * sx * n.x + t[5] * sy * n.y + (2 * row.cellX + 1) * sx * n.z
                                 + (2 * row.cellY + 1) * sy;
                const QVector4D expected(float(u - std::floor(u)), float(v - std::floor(v)), 0, 1);
                EXPECT_TRUE(face.isNear(x, y, expected, 0.5f / 48 + 1e-4f))
                    << (isWide ? "wide" : "high") << ", face " << i;
            }
        }
    }
}

TEST_F(TvoImageCubemapUtilsTest, SizesAndRefusals)
{
    const auto refused = [](Texture *source, TvoImageCubemapSourceType type,
                            GLenum target = GL_TEXTURE_CUBE_MAP) {
        return createGLCubemapFromTexture(source, type, target, eColorSpaceLinear, 0) == nullptr;
    };
    const auto square = image(32, 32, places);
    EXPECT_TRUE(refused(square.get(), eSourceNone) && refused(square.get(), eSourceCubemap));
    EXPECT_TRUE(refused(nullptr, eSourceCross) && createGLCubemapStripFromTexture(nullptr, 0) == nullptr);
    EXPECT_TRUE(refused(square.get(), eSourceCross));
    EXPECT_MESSAGES(
        "debug [TvoImageCubemapUtils.cpp:#] [ !! ] Texture(32,32) not a 4:3 or 3:4 image. Cannot load "
        "cubemap.");
    for (const auto &[w, format] :
         {std::pair(32, GL_RGB9_E5), {32, GL_COMPRESSED_RED_RGTC1}, {2, GL_RGBA8}, {0, GL_RGBA8}}) {
        const auto source = image(w, w, places, GLenum(format)); // faces of the last two would have no texel
        EXPECT_TRUE(refused(source.get(), eSourceLatLong));
        EXPECT_FALSE(_capture.take().isEmpty());
    }
    const auto odd = image(64, 12, places); // a cross must not be square; the ratio is free
    EXPECT_TRUE(refused(odd.get(), eSourceLinear, GL_TEXTURE_2D));
    const QString unhandled = "debug [TvoImageCubemapUtils.cpp:#] [ !! ] Unhandled Texture Type 0xDE1";
    EXPECT_MESSAGES(unhandled, unhandled);
    EXPECT_EQ(16, sizeOf(*converted(odd.get(), eSourceCross)));
    EXPECT_EQ(8, sizeOf(*converted(odd.get(), eSourceCross, 8)));
    EXPECT_EQ(16, sizeOf(*converted(odd.get(), eSourceLatLong, 100)));
    EXPECT_EQ(10, sizeOf(*converted(odd.get(), eSourceLinear)));
}

TEST_F(TvoImageCubemapUtilsTest, RenderersWithoutAProgramAndFacesThatAreNoneDrawNothing)
{
    class Boaster : public TvoRenderCubemapBase
    {
    public:
        using TvoRenderCubemapBase::largestBatchSize;
        bool createShader() override { return true; }
    };
    EXPECT_EQ(1, Boaster().largestBatchSize());
    EXPECT_FALSE(Boaster().renderCubemap(4, GL_RGBA8, nullptr));
    EXPECT_EQ(nullptr, Boaster().createCubemap(4, GL_RGBA8, GL_TEXTURE_CUBE_MAP));
    EXPECT_MESSAGES("debug [TvoImageCubemapUtils.cpp:#] [ !! ] Failed to create Shader");

    const auto source = image(24, 4, places);
    TvoRenderCubemap_Linear renderer;
    renderer.setTexture(source.get());
    EXPECT_FALSE(renderer.renderBegin(0)); // no program yet
    ASSERT_TRUE(renderer.createShader());
    EXPECT_FALSE(renderer.renderBegin(-1) || renderer.renderBegin(6) || source->isBound());
}

TEST_F(TvoImageCubemapUtilsTest, CosineWeightedLayersSharpenFromTheFirstToTheLast)
{
    const auto source = cube(kFace, colorOf);
    for (const auto &[target, layers] : {std::pair(GL_TEXTURE_CUBE_MAP, 1), {GL_TEXTURE_CUBE_MAP_ARRAY, 3}}) {
        ZEL_NEEDS_EXTENSION_IF(layers > 1, "GL_ARB_texture_cube_map_array");
        const TexturePointer result(
            createGLCubemapNDotLFromGLCubemap(source.get(), GLenum(target), kFace, layers, 0.5f));
        ASSERT_NE(nullptr, result);
        EXPECT_EQ(layers > 1 ? 2 : 1, _capture.take().size()); // the number of layers and the duration
        EXPECT_EQ(layers > 1 ? 6 * layers : 1, levelParameter(*result, 0, GL_TEXTURE_DEPTH));
        for (int i = 0; i < 6 * layers; ++i) {
            const Vec n = normalized(directionOfFace(i % 6, 5.5 / kFace, 3.5 / kFace));
            // The same grid as in the shader.
            const double exponent = std::exp2(13.0 * std::pow(i / 6 / std::max(layers - 1.0, 1.0), 2.0));
            QVector4D sum = colorOf(n); // alpha sums the weights, since all alphas are 1
            for (int sample = 0; sample < 17 * 17; ++sample) {
                const Vec d = normalized({0.125 * (sample % 17) - 1, 0.125 * (sample / 17) - 1, 1});
                for (const int sign : {1, -1}) {
                    for (const Vec &L :
                         {Vec(d.x, d.y, sign * d.z), Vec(d.y, d.z, sign * d.x), Vec(d.z, d.x, sign * d.y)}) {
                        sum += float(std::pow(std::max(dot(n, L), 0.0), exponent)) * colorOf(L);
                    }
                }
            }
            EXPECT_TRUE(Pixels::ofTexture(GLenum(target), result->textureID(), 0, i)
                            .isNear(5, 3, sum / sum.w(), 0.002f))
                << "layer " << i;
        }
    }
}

TEST_F(TvoImageCubemapUtilsTest, BlursKeepTheClearColours)
{
    const auto source = cube(4, colorOf);
    for (const auto &[target, layers] : {std::pair(GL_TEXTURE_CUBE_MAP, 1), {GL_TEXTURE_CUBE_MAP_ARRAY, 2}}) {
        ZEL_NEEDS_EXTENSION_IF(layers > 1, "GL_ARB_texture_cube_map_array");
        const HostRaster host; // its colour mask is that of all draw buffers, of which a layer has one
        const TexturePointer result(
            createGLCubemapBlurFromGLCubemap(source.get(), GLenum(target), 4, layers));
        ASSERT_NE(nullptr, result);
        const QStringList messages = _capture.takeTexts();
        EXPECT_FALSE(messages.filter("warning Failed to compile GL shader").isEmpty());
        EXPECT_TRUE(messages.filter("Unable to create cubemap blur").isEmpty());
        EXPECT_FALSE(takeGLErrors().empty()); // from the use of a program that was not linked
        TestContext::takeDriverReports();
        const QVector3D colors[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 1, 0}, {0, 1, 1}, {1, 0, 1}};
        for (int face = 0; face < 6 * layers; ++face) {
            EXPECT_TRUE(Pixels::ofTexture(GLenum(target), result->textureID(), 0, face)
                            .isNear(Pixels(4, 4, {colors[face % 6], 1.0f}), 0.0f));
        }
    }
}

TEST_F(TvoImageCubemapUtilsTest, LevelsAreCopiedWhereTheyFit)
{
    const auto small = cube(4, colorOf);
    const auto flat = image(4, 4, places);
    const auto target = cube(16, [](const Vec &) { return QVector4D(); });
    const auto copied = copyCubeMapTextureAsLod;
    EXPECT_FALSE(copied(small.get(), target.get(), 1)) << "another size";
    EXPECT_FALSE(copied(flat.get(), target.get(), 2) || copied(nullptr, target.get(), 2)
                 || copied(small.get(), nullptr, 2));
    for (const int maxLevel : {0, 1, 2}) {
        target->bind();
        driver()->glTexParameteri(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MAX_LEVEL, maxLevel);
        target->unbind();
        const HostRaster host;
        EXPECT_EQ(maxLevel == 2, copied(small.get(), target.get(), 2));
    }
    EXPECT_TRUE(facesAre(*target, 4, 0.0f, colorOf, 2));
}
