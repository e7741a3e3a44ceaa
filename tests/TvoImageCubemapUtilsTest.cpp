// Environment images to cube maps and back, judged by direction: each direction has its own colour, 0.5 n + 0.5.

#include "support/GLFixture.h"
#include "support/Pixels.h"
#include "support/StateGuard.h"
#include "support/TextureParameter.h"

#include <ZelGL/OpenGLDeviceContext.h>
#include <ZelGL/TvoImageCubemapUtils.h>

#include <QtGui/QVector2D>
#include <QtGui/QVector3D>

#include <cmath>
#include <functional>
#include <memory>
#include <vector>

using namespace Orvane::Zel;
using namespace TvoImageCubemapUtils;

namespace {

constexpr int kFace = 16;
constexpr float kPi = 3.14159265f;

using TexturePointer = std::unique_ptr<Texture>;

QVector4D colorOf(const QVector3D &direction)
{
    return {0.5f * direction.normalized() + QVector3D(0.5f, 0.5f, 0.5f), 1.0f};
}

/// The direction of a place on a face of GL's cube maps, 0 to 1.
QVector3D directionOfFace(int face, float u, float v)
{
    const float s = 2 * u - 1;
    const float t = 2 * v - 1;
    const QVector3D directions[] = {{1, -t, -s}, {-1, -t, s}, {s, 1, t},
                                    {s, -1, -t}, {s, -t, 1},  {-s, -t, -1}};
    return directions[face].normalized();
}

/// Of an image with the sky in its first row and +x at its left end.
QVector3D directionOfLatLong(float u, float v)
{
    const float theta = 2 * kPi * u;
    const float phi = kPi * v;
    return {std::sin(phi) * std::cos(theta), std::cos(phi), std::sin(phi) * std::sin(theta)};
}

/// Of a strip with the sky at the top of its first row.
QVector3D directionOfStrip(float u, float v)
{
    const int face = std::min(int(u * 6), 5);
    return directionOfFace(face, u * 6 - float(face), v);
}

class TvoImageCubemapUtilsTest : public GLTest
{
protected:
    TvoImageCubemapUtilsTest() { OpenGLDeviceContext::current()->fullscreenQuad(); }

    ~TvoImageCubemapUtilsTest() override { OpenGLDeviceContext::resetContext(); }

    static void fill(GLenum image, int width, int height,
                     const std::function<QVector4D(float, float)> &colorAt)
    {
        std::vector<QVector4D> texels;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                texels.push_back(
                    colorAt((float(x) + 0.5f) / float(width), (float(y) + 0.5f) / float(height)));
            }
        }
        driver()->glTexImage2D(image, 0, GL_RGBA32F, width, height, 0, GL_RGBA, GL_FLOAT, texels.data());
    }

    static TexturePointer image(int width, int height, const std::function<QVector4D(float, float)> &colorAt)
    {
        auto texture = std::make_unique<Texture>(GL_TEXTURE_2D, GL_RGBA32F, width, height, 0, nullptr);
        texture->bind();
        fill(GL_TEXTURE_2D, width, height, colorAt);
        texture->unbind();
        return texture;
    }

    static TexturePointer cube(int size, const std::function<QVector4D(const QVector3D &)> &colorAt)
    {
        auto texture = std::make_unique<Texture>(GL_TEXTURE_CUBE_MAP, GL_RGBA32F, size, size, 0, nullptr);
        texture->bind();
        for (int face = 0; face < 6; ++face) {
            fill(GL_TEXTURE_CUBE_MAP_POSITIVE_X + unsigned(face), size, size,
                 [&](float u, float v) { return colorAt(directionOfFace(face, u, v)); });
        }
        driver()->glGenerateMipmap(GL_TEXTURE_CUBE_MAP);
        texture->unbind();
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
        texture.bind();
        const int size = texture.width(level);
        texture.unbind();
        return size;
    }

    static Pixels layerOf(const Texture &array, int layer, int size)
    {
        GLuint framebuffer = 0;
        driver()->glGenFramebuffers(1, &framebuffer);
        driver()->glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        driver()->glFramebufferTextureLayer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, array.textureID(), 0,
                                            layer);
        const Pixels pixels = Pixels::ofFramebuffer(0, 0, size, size);
        driver()->glBindFramebuffer(GL_FRAMEBUFFER, 0);
        driver()->glDeleteFramebuffers(1, &framebuffer);
        return pixels;
    }

    static testing::AssertionResult
    facesAre(const Texture &cube, int size, float tolerance,
             const std::function<QVector4D(const QVector3D &)> &colorAt = colorOf)
    {
        for (int face = 0; face < 6; ++face) {
            Pixels expected(size, size);
            for (int y = 0; y < size; ++y) {
                for (int x = 0; x < size; ++x) {
                    expected.at(x, y) = colorAt(directionOfFace(face, (float(x) + 0.5f) / float(size),
                                                                (float(y) + 0.5f) / float(size)));
                }
            }
            const auto result =
                Pixels::ofTexture(GL_TEXTURE_CUBE_MAP, cube.textureID(), 0, face).isNear(expected, tolerance);
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
    EXPECT_TRUE(canFileSupport3DCubemap("/a/sky.v2.DDS"));
    EXPECT_FALSE(canFileSupport3DCubemap("/a/dds"));
}

TEST_F(TvoImageCubemapUtilsTest, LatLongImagesComeOutByDirection)
{
    const auto source =
        image(16 * kFace, 8 * kFace, [](float u, float v) { return colorOf(directionOfLatLong(u, v)); });
    const auto result = converted(source.get(), eSourceLatLong, kFace);
    EXPECT_TRUE(facesAre(*result, kFace, 0.02f)); // the nearest texel is up to 0.7 degrees off
    EXPECT_EQ(kFace / 2, sizeOf(*result, 1));
    EXPECT_EQ(GL_LINEAR_MIPMAP_LINEAR, textureParameter(*result, GL_TEXTURE_MIN_FILTER));
    EXPECT_EQ(GL_CLAMP_TO_EDGE, textureParameter(*result, GL_TEXTURE_WRAP_R));
    const Pixels top = Pixels::ofTexture(GL_TEXTURE_CUBE_MAP, result->textureID(), 4, 2);
    EXPECT_GT(top.at(0, 0).y(), 0.8f) << "the chain is not that of the faces";
}

TEST_F(TvoImageCubemapUtilsTest, StripsComeOutByDirectionAndGoBackUpsideDown)
{
    const auto source =
        image(6 * kFace, kFace, [](float u, float v) { return colorOf(directionOfStrip(u, v)); });
    const auto result = converted(source.get(), eSourceLinear);
    EXPECT_TRUE(facesAre(*result, kFace, 1e-5f));

    // The strip that is made has its lowest row first, as GL reads pictures.
    const TexturePointer strip(createGLCubemapStripFromTexture(result.get(), 0));
    ASSERT_NE(nullptr, strip);
    Pixels expected(6 * kFace, kFace);
    for (int y = 0; y < kFace; ++y) {
        for (int x = 0; x < 6 * kFace; ++x) {
            expected.at(x, y) =
                colorOf(directionOfStrip((float(x) + 0.5f) / (6 * kFace), 1 - (float(y) + 0.5f) / kFace));
        }
    }
    EXPECT_TRUE(Pixels::ofTexture(GL_TEXTURE_2D, strip->textureID()).isNear(expected, 1e-3f));
}

TEST_F(TvoImageCubemapUtilsTest, MirrorBallsComeOutByDirection)
{
    constexpr int kSize = 16 * kFace;
    const auto source = image(kSize, kSize, [](float u, float v) {
        return QVector4D(u, v, 0.25f, 1.0f); // where it is read
    });
    const auto result = converted(source.get(), eSourceSphere, kFace);
    EXPECT_TRUE(facesAre(*result, kFace, 1.0f / kSize, [](const QVector3D &n) {
        return QVector4D(0.5f * n.x() + 0.5f, 0.5f * n.y() + 0.5f, 0.25f, 1.0f);
    }));
}

TEST_F(TvoImageCubemapUtilsTest, CrossesGiveWhatTheirMatrixGives)
{
    struct Case
    {
        int width, height, face;
        int columns, rows, cellX, cellY;
        float t[6];
    };
    const Case cases[] = {{64, 48, 0, 4, 3, 2, 1, {0, 0, 0, -1, -1, 0}},
                          {64, 48, 5, 4, 3, 3, 1, {-1, 0, 0, -1, 0, 0}},
                          {48, 64, 3, 3, 4, 1, 2, {1, 0, 0, 0, 0, -1}},
                          {48, 64, 5, 3, 4, 1, 3, {1, 0, 0, 1, 0, 0}}};
    for (const Case &c : cases) {
        const auto source =
            image(c.width, c.height, [](float u, float v) { return QVector4D(u, v, 0.5f, 1.0f); });
        const auto result = converted(source.get(), eSourceCross);
        ASSERT_EQ(16, sizeOf(*result));
        const float sx = 0.5f / float(c.columns);
        const float sy = 0.5f / float(c.rows);
        const Pixels face = Pixels::ofTexture(GL_TEXTURE_CUBE_MAP, result->textureID(), 0, c.face);
        for (const int i : {1, 5, 14}) {
            const float u = (float(i) + 0.5f) / 16;
            const float v = (float(15 - i / 2) + 0.5f) / 16;
            QVector3D n = directionOfFace(c.face, u, v);
            n /= std::max(std::fabs(n.x()), std::max(std::fabs(n.y()), std::fabs(n.z()))); // as drawn
            // The numbers stand row by row: four of the first, four of the second.
            const QVector2D uv(c.t[0] * sx * n.x() + c.t[1] * sy * n.y() + c.t[2] * sx * n.z() + c.t[3] * sy,
                               c.t[4] * sx * n.x() + c.t[5] * sy * n.y() + float(2 * c.cellX + 1) * sx * n.z()
                                   + float(2 * c.cellY + 1) * sy);
            const auto wrapped = [](float x) { return x - std::floor(x); };
            EXPECT_TRUE(
                face.isNear(i, 15 - i / 2, {wrapped(uv.x()), wrapped(uv.y()), 0.5f, 1.0f}, 0.5f / 48 + 1e-4f))
                << c.width << " x " << c.height << ", face " << c.face;
        }
    }
}

TEST_F(TvoImageCubemapUtilsTest, SizesAndRefusals)
{
    const auto color = [](float, float) { return QVector4D(); };
    const auto square = image(32, 32, color);
    EXPECT_EQ(nullptr, createGLCubemapFromTexture(square.get(), eSourceCross, GL_TEXTURE_CUBE_MAP,
                                                  eColorSpaceLinear, 0));
    EXPECT_MESSAGES(
        "debug [TvoImageCubemapUtils.cpp:#] [ !! ] Texture(32,32) not a 4:3 or 3:4 image. Cannot load "
        "cubemap.");
    for (const TvoImageCubemapSourceType type : {eSourceNone, eSourceCubemap}) {
        EXPECT_EQ(nullptr,
                  createGLCubemapFromTexture(square.get(), type, GL_TEXTURE_CUBE_MAP, eColorSpaceLinear, 0));
    }
    EXPECT_EQ(nullptr,
              createGLCubemapFromTexture(nullptr, eSourceCross, GL_TEXTURE_CUBE_MAP, eColorSpaceLinear, 0));
    EXPECT_EQ(nullptr, createGLCubemapStripFromTexture(nullptr, 0));

    const auto odd = image(64, 12, color); // not square, which is all that a cross has to be
    EXPECT_EQ(16, sizeOf(*converted(odd.get(), eSourceCross)));
    EXPECT_EQ(8, sizeOf(*converted(odd.get(), eSourceCross, 8)));
    EXPECT_EQ(16, sizeOf(*converted(odd.get(), eSourceLatLong, 100)));
    EXPECT_EQ(10, sizeOf(*converted(odd.get(), eSourceLinear)));

    EXPECT_EQ(nullptr,
              createGLCubemapFromTexture(odd.get(), eSourceLinear, GL_TEXTURE_2D, eColorSpaceLinear, 0));
    EXPECT_MESSAGES("debug [TvoImageCubemapUtils.cpp:#] [ !! ] Unhandled Texture Type 0xDE1",
                    "debug [TvoImageCubemapUtils.cpp:#] [ !! ] Unhandled Texture Type 0xDE1");
}

TEST_F(TvoImageCubemapUtilsTest, CosineWeightedLayersSharpenFromTheFirstToTheLast)
{
    constexpr int kLayers = 2;
    const auto source = cube(8, colorOf);
    const TexturePointer result(
        createGLCubemapNDotLFromGLCubemap(source.get(), GL_TEXTURE_CUBE_MAP_ARRAY, 2, kLayers, 2.0f));
    ASSERT_NE(nullptr, result);
    EXPECT_MESSAGES(startsWith("debug [TvoImageCubemapUtils.cpp:#] "),
                    startsWith("debug [TvoImageCubemapUtils.cpp:#] rendercubemap() took "));
    result->bind();
    EXPECT_EQ(6 * kLayers, result->depth(0));
    result->unbind();
    for (int face = 0; face < 6; ++face) {
        const QVector3D n = directionOfFace(face, 0.25f, 0.25f);
        for (int layer = 0; layer < kLayers; ++layer) {
            // The grid of the shader, in double precision.
            const double exponent = std::exp2(13.0 * layer);
            QVector3D own = colorOf(n).toVector3D(); // about what the filter gives at the pixel's own place
            double sums[3] = {own.x(), own.y(), own.z()};
            double weights = 1.0;
            for (int y = 0; y <= 8; ++y) {
                for (int x = 0; x <= 8; ++x) {
                    const QVector3D d =
                        QVector3D(-1 + 0.25f * float(x), -1 + 0.25f * float(y), 1).normalized();
                    for (const QVector3D &sample :
                         {d, QVector3D(d.x(), d.y(), -d.z()), QVector3D(d.y(), d.z(), d.x()),
                          QVector3D(d.y(), d.z(), -d.x()), QVector3D(d.z(), d.x(), d.y()),
                          QVector3D(d.z(), d.x(), -d.y())}) {
                        const double cosine = QVector3D::dotProduct(n, sample);
                        if (cosine > 0.0) {
                            const double weight = std::pow(cosine, exponent);
                            const QVector4D color = colorOf(sample);
                            sums[0] += weight * color.x();
                            sums[1] += weight * color.y();
                            sums[2] += weight * color.z();
                            weights += weight;
                        }
                    }
                }
            }
            const QVector4D expected(float(sums[0] / weights), float(sums[1] / weights),
                                     float(sums[2] / weights), 1);
            const Pixels actual = layerOf(*result, 6 * layer + face, 2);
            EXPECT_TRUE(actual.isNear(0, 0, expected, 0.03f)) << "face " << face << ", layer " << layer;
        }
    }
}

TEST_F(TvoImageCubemapUtilsTest, BlursKeepTheClearColours)
{
    const auto source = cube(4, colorOf);
    const TexturePointer result(createGLCubemapBlurFromGLCubemap(source.get(), GL_TEXTURE_CUBE_MAP, 4, 1));
    ASSERT_NE(nullptr, result);
    EXPECT_EQ("warning Failed to compile GL shader", _capture.take().value(0).toString());
    EXPECT_FALSE(takeGLErrors().empty()); // a program that is none was used
    TestContext::takeDriverReports();
    const QVector3D colors[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 1, 0}, {0, 1, 1}, {1, 0, 1}};
    for (int face = 0; face < 6; ++face) {
        EXPECT_TRUE(Pixels::ofTexture(GL_TEXTURE_CUBE_MAP, result->textureID(), 0, face)
                        .isNear(Pixels(4, 4, {colors[face], 1.0f}), 0.0f));
    }
}

TEST_F(TvoImageCubemapUtilsTest, LevelsAreCopiedWhereTheyFit)
{
    const auto small = cube(4, colorOf);
    const auto target = cube(16, [](const QVector3D &) { return QVector4D(); });
    EXPECT_TRUE(copyCubeMapTextureAsLod(small.get(), target.get(), 2));
    for (int face = 0; face < 6; ++face) {
        EXPECT_TRUE(Pixels::ofTexture(GL_TEXTURE_CUBE_MAP, target->textureID(), 2, face)
                        .isNear(Pixels::ofTexture(GL_TEXTURE_CUBE_MAP, small->textureID(), 0, face), 0.0f));
    }
    EXPECT_FALSE(copyCubeMapTextureAsLod(small.get(), target.get(), 1)); // another size
    const auto flat = image(4, 4, [](float, float) { return QVector4D(); });
    EXPECT_FALSE(copyCubeMapTextureAsLod(flat.get(), target.get(), 2));
    EXPECT_FALSE(copyCubeMapTextureAsLod(nullptr, target.get(), 2));
    EXPECT_FALSE(copyCubeMapTextureAsLod(small.get(), nullptr, 2));
    for (const int maxLevel : {1, 0}) {
        target->bind();
        driver()->glTexParameteri(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MAX_LEVEL, maxLevel);
        target->unbind();
        EXPECT_FALSE(copyCubeMapTextureAsLod(small.get(), target.get(), 2));
    }
}

TEST_F(TvoImageCubemapUtilsTest, RendersLeaveTheStateThatTheyAreStatedToLeave)
{
    const auto source = image(64, 48, [](float, float) { return QVector4D(); });
    const auto sky = cube(4, colorOf);
    const auto changesOf = [](const std::function<void()> &render) {
        driver()->glViewport(1, 2, 3, 4);
        driver()->glEnable(GL_BLEND);
        driver()->glEnable(GL_DEPTH_TEST);
        driver()->glDepthMask(GL_TRUE);
        driver()->glClearColor(0.5f, 0.5f, 0.5f, 0.5f);
        const StateGuard guard;
        render();
        QStringList names;
        for (const QString &change : guard.changes()) {
            names += change.section(' ', 0, 0);
        }
        names.removeAll("GL_ACTIVE_TEXTURE");
        return names;
    };
    EXPECT_EQ((QStringList{"GL_BLEND", "GL_COLOR_CLEAR_VALUE", "GL_VIEWPORT"}),
              changesOf([&] { converted(source.get(), eSourceCross); }));
    EXPECT_EQ((QStringList{"GL_BLEND", "GL_COLOR_CLEAR_VALUE", "GL_DEPTH_TEST", "GL_DEPTH_WRITEMASK"}),
              changesOf([&] { delete createGLCubemapStripFromTexture(sky.get(), 0); }));
}
