// The bakes against the same mathematics in double precision.

#include "support/GLFixture.h"
#include "support/Pixels.h"
#include "support/StateGuard.h"
#include "support/Tap.h"
#include "support/TextureParameter.h"

#include <ZelGL/OpenGLDeviceContext.h>
#include <ZelGL/PrefilteredEnvMap.h>

#include <array>
#include <cmath>
#include <functional>
#include <memory>
#include <vector>

using namespace Orvane::Zel;

namespace {

constexpr double kPi = 3.14159265358979;
constexpr int kSourceLevels = 5;
constexpr ShadingModel kModels[] = {SHADING_TRADITIONAL, SHADING_ENERY_CONSERVING, SHADING_PHYSICALLY_BASED,
                                    SHADING_LAMBERTIAN_DIFFUSE, SHADING_OREN_NAYAR_DIFFUSE};

using Vec = std::array<double, 3>;

double dot(const Vec &a, const Vec &b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Vec sum(const Vec &a, double s, const Vec &b, double t)
{
    return {a[0] * s + b[0] * t, a[1] * s + b[1] * t, a[2] * s + b[2] * t};
}

Vec normalized(const Vec &v)
{
    return sum(v, 1.0 / std::sqrt(dot(v, v)), v, 0.0);
}

Vec cross(const Vec &a, const Vec &b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

bool isDiffuse(ShadingModel model)
{
    return model >= SHADING_LAMBERTIAN_DIFFUSE;
}

double phongExponent(double roughness)
{
    return std::exp2((1.0 - std::sqrt(roughness)) * 10.0 + 4.0);
}

double radicalInverse(unsigned i)
{
    double result = 0.0;
    for (double digit = 0.5; i != 0; i >>= 1, digit *= 0.5) {
        result += (i & 1u) != 0 ? digit : 0.0;
    }
    return result;
}

/// About +z: a half vector, or with diffuse models the direction of the light.
Vec sampleOf(ShadingModel model, unsigned i, unsigned n, double roughness)
{
    const double x = double(i) / n;
    const double y = radicalInverse(i);
    if (isDiffuse(model)) {
        const double sx = 2.0 * x - 1.0;
        const double sy = 2.0 * y - 1.0;
        if (sx == 0.0 && sy == 0.0) {
            return {0.0, 0.0, 1.0};
        }
        const bool wide = std::fabs(sx) > std::fabs(sy);
        const double r = wide ? sx : sy;
        const double theta = wide ? kPi / 4 * sy / sx : kPi / 2 - kPi / 4 * sx / sy;
        return {r * std::cos(theta), r * std::sin(theta), std::sqrt(std::max(0.0, 1.0 - r * r))};
    }
    const double a4 = std::pow(roughness, 4);
    const double c = model == SHADING_PHYSICALLY_BASED
                         ? std::sqrt((1.0 - x) / (1.0 + (a4 - 1.0) * x))
                         : std::pow(1.0 - x, 1.0 / (phongExponent(roughness) + 1.0));
    const double s = std::sqrt(std::max(0.0, 1.0 - c * c));
    const double phi = 2.0 * kPi * (y - 0.5);
    return {std::cos(phi) * s, std::sin(phi) * s, c};
}

double densityOf(ShadingModel model, double roughness, double NdotH, double VdotH)
{
    const double Ns = phongExponent(roughness);
    switch (model) {
    case SHADING_TRADITIONAL: {
        const double c = std::pow(NdotH, 1.0 / (Ns + 1.0));
        return (Ns + 1.0) / (2.0 * kPi) * std::pow(c, Ns) * std::sqrt(std::max(0.0, 1.0 - c * c));
    }
    case SHADING_ENERY_CONSERVING:
        return (Ns + 1.0) * std::pow(NdotH, Ns) / (8.0 * kPi * VdotH);
    case SHADING_PHYSICALLY_BASED: {
        const double a4 = std::pow(roughness, 4);
        const double t = NdotH * NdotH * (a4 - 1.0) + 1.0;
        return a4 / (kPi * t * t) * NdotH / (4.0 * VdotH);
    }
    default:
        return NdotH / kPi;
    }
}

/// What stands in the source: a smooth function of the direction, and in blue the level that is read.
Vec radiance(const Vec &L, double lod)
{
    return {0.5 + 0.25 * L[0] + 0.2 * L[1], 0.5 + 0.3 * L[2] - 0.1 * L[0] * L[1],
            std::min(std::max(lod, 0.0), kSourceLevels - 1.0) / 4.0};
}

/// One pixel of a filtered environment. row is that of the pixel on its level.
Vec filtered(ShadingModel model, const Vec &N, int row, double roughness, unsigned n, int width, int height)
{
    const Vec up = std::fabs(N[1]) < 0.999 ? Vec{0, 1, 0} : Vec{0, 0, -1};
    const Vec Tx = normalized(cross(up, N));
    const Vec Ty = cross(N, Tx);
    const double south = std::sin((row / (height + 1.0) - 0.5) * kPi);
    const double north = std::sin(((row + 1) / (height + 1.0) - 0.5) * kPi);
    const double texel = std::max(2.0 * kPi / width * (north - south), 1e-6);
    Vec total{};
    double weight = 0.0;
    for (unsigned i = 0; i < n; ++i) {
        const Vec s = sampleOf(model, i, n, roughness);
        const Vec d = sum(sum(Tx, s[0], Ty, s[1]), 1.0, N, s[2]);
        const Vec L = isDiffuse(model) ? d : sum(d, 2.0 * dot(N, d), N, -1.0);
        const Vec H = isDiffuse(model) ? normalized(sum(L, 1.0, N, 1.0)) : d;
        const double NdotL = std::min(dot(N, L), 1.0);
        if (NdotL > 0.0) {
            const double NdotH = std::min(dot(N, H), 1.0);
            const double density = std::max(densityOf(model, roughness, NdotH, NdotH), 1e-6);
            const double lod = roughness == 0.0 ? 0.0 : 0.5 * std::log2(1.0 / (n * density) / texel);
            total = sum(total, 1.0, radiance(L, lod), NdotL);
            weight += NdotL;
        }
    }
    return sum(total, 1.0 / weight, total, 0.0);
}

/// The direction of a place on a face, -1 to 1.
Vec directionOfFace(int face, double s, double t)
{
    const Vec directions[] = {{1, -t, -s}, {-1, -t, s}, {s, 1, t}, {s, -1, -t}, {s, -t, 1}, {-s, -t, -1}};
    return normalized(directions[face]);
}

Vec directionOfLatLong(double u, double v)
{
    const double phi = (u - 0.5) * 2.0 * kPi;
    const double theta = (v - 0.5) * kPi;
    return {std::cos(phi) * std::cos(theta), std::sin(theta), std::sin(phi) * std::cos(theta)};
}

double center(int i, int size)
{
    return (i + 0.5) / size;
}

QVector4D toPixel(const Vec &color)
{
    return {float(color[0]), float(color[1]), float(color[2]), 1.0f};
}

class PrefilteredEnvMapTest : public GLTest
{
protected:
    PrefilteredEnvMapTest() { OpenGLDeviceContext::current()->fullscreenQuad(); }

    ~PrefilteredEnvMapTest() override { OpenGLDeviceContext::resetContext(); }

    using Colors = Vec (*)(const Vec &direction, double level);

    static void fillLevel(GLenum image, int level, int width, int height,
                          const std::function<Vec(double u, double v)> &colorAt)
    {
        std::vector<float> texels;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const Vec color = colorAt(center(x, width), center(y, height));
                texels.insert(texels.end(), {float(color[0]), float(color[1]), float(color[2]), 1.0f});
            }
        }
        driver()->glTexImage2D(image, level, GL_RGBA32F, width, height, 0, GL_RGBA, GL_FLOAT, texels.data());
    }

    static std::unique_ptr<Texture> cube(int size, int levels, Colors colors)
    {
        auto texture = std::make_unique<Texture>(GL_TEXTURE_CUBE_MAP, GL_RGBA32F, size, size, 0, nullptr);
        texture->bind();
        for (int level = 0; level < levels; ++level) {
            for (int face = 0; face < 6; ++face) {
                fillLevel(GL_TEXTURE_CUBE_MAP_POSITIVE_X + unsigned(face), level, size >> level,
                          size >> level, [&](double u, double v) {
                              return colors(directionOfFace(face, 2 * u - 1, 2 * v - 1), level);
                          });
            }
        }
        finish(*texture, levels);
        return texture;
    }

    static std::unique_ptr<Texture> latLong(int width, int height, int levels, Colors colors)
    {
        auto texture = std::make_unique<Texture>(GL_TEXTURE_2D, GL_RGBA32F, width, height, 0, nullptr);
        texture->bind();
        for (int level = 0; level < levels; ++level) {
            fillLevel(GL_TEXTURE_2D, level, width >> level, height >> level,
                      [&](double u, double v) { return colors(directionOfLatLong(u, v), level); });
        }
        finish(*texture, levels);
        return texture;
    }

    static std::unique_ptr<Texture> bakeCube(Texture *source, int size, unsigned samples, ShadingModel model)
    {
        return std::unique_ptr<Texture>(CreatePrefilteredCubeEnvMap(source, size, samples, model, RGBA32F));
    }

    static std::unique_ptr<Texture> bakeLatLong(Texture *source, int width, int height, unsigned samples,
                                                ShadingModel model)
    {
        return std::unique_ptr<Texture>(
            CreatePrefilteredLatLongEnvMap(source, width, height, samples, model, RGBA32F));
    }

private:
    static void finish(Texture &texture, int levels)
    {
        driver()->glTexParameteri(texture.target(), GL_TEXTURE_MAX_LEVEL, levels - 1);
        driver()->glTexParameteri(texture.target(), GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
        driver()->glTexParameteri(texture.target(), GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        driver()->glTexParameteri(texture.target(), GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
        if (texture.target() == GL_TEXTURE_CUBE_MAP) {
            driver()->glTexParameteri(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
        }
        texture.unbind();
    }
};

Vec white(const Vec &, double)
{
    return {1.0, 1.0, 1.0};
}

/// The level in blue and the same colour in every direction: that the level is right is judged here, to the
/// last digits, what the directions are by the next test.
Vec levelAlone(const Vec &, double lod)
{
    return {0.0, 0.0, radiance({}, lod)[2]};
}

Vec directionAlone(const Vec &direction, double)
{
    return radiance(direction, 0.0);
}

Vec only(const Vec &color, bool level)
{
    return level ? Vec{0.0, 0.0, color[2]} : Vec{color[0], color[1], 0.0};
}

} // namespace

TEST_F(PrefilteredEnvMapTest, LevelsAndRoughness)
{
    EXPECT_EQ(1, MaxLODLevel(1, 4096));
    EXPECT_EQ(1, MaxLODLevel(4096, 1));
    EXPECT_EQ(2, MaxLODLevel(2, 3));
    EXPECT_EQ(9, MaxLODLevel(256, 256));
    EXPECT_EQ(10, MaxLODLevel(1024, 512));
    EXPECT_EQ(10, MaxLODLevel(512, 1024));
    for (const ShadingModel model : kModels) {
        EXPECT_EQ(0.0f, RoughnessForLOD(0, 9, model));
        EXPECT_EQ(0.375f, RoughnessForLOD(3, 9, model));
        EXPECT_EQ(1.0f, RoughnessForLOD(8, 9, model));
        EXPECT_TRUE(std::isnan(RoughnessForLOD(0, 1, model)));
    }
}

TEST_F(PrefilteredEnvMapTest, CubesHoldTheIntegralOfEveryModelAndRoughness)
{
    constexpr int kSize = 8;
    constexpr int kSource = 64;
    constexpr unsigned kSamples = 64;
    for (const bool level : {true, false}) {
        const auto source =
            level ? cube(kSource, kSourceLevels, levelAlone) : cube(kSource, 1, directionAlone);
        for (const ShadingModel model : kModels) {
            const auto result = bakeCube(source.get(), kSize, kSamples, model);
            ASSERT_NE(nullptr, result);
            for (int lod = 0; lod < 4; ++lod) {
                const int size = kSize >> lod;
                for (int face = 0; face < 6; ++face) {
                    Pixels expected(size, size);
                    for (int y = 0; y < size; ++y) {
                        for (int x = 0; x < size; ++x) {
                            const Vec N =
                                directionOfFace(face, 2 * center(x, size) - 1, 2 * center(y, size) - 1);
                            const Vec color = filtered(model, N, y, lod / 3.0, kSamples, kSource, kSource);
                            expected.at(x, y) = toPixel(only(color, level));
                        }
                    }
                    Pixels actual = Pixels::ofTexture(GL_TEXTURE_CUBE_MAP, result->textureID(), lod, face);
                    for (int i = 0; i < size * size && !level; ++i) {
                        actual.at(i % size, i / size).setZ(0.0f);
                    }
                    ASSERT_TRUE(actual.isNear(expected, 1e-3f))
                        << "model " << model << ", level " << lod << ", face " << face;
                }
            }
        }
    }
}

TEST_F(PrefilteredEnvMapTest, LatLongImagesHoldTheIntegralOfEveryModelAndRoughness)
{
    constexpr int kWidth = 16;
    constexpr int kHeight = 8;
    constexpr unsigned kSamples = 64;
    for (const bool level : {true, false}) {
        const auto source =
            level ? latLong(128, 64, kSourceLevels, levelAlone) : latLong(128, 64, 1, directionAlone);
        for (const ShadingModel model : kModels) {
            const auto result = bakeLatLong(source.get(), kWidth, kHeight, kSamples, model);
            ASSERT_NE(nullptr, result);
            for (int lod = 0; lod < 4; ++lod) {
                const int width = kWidth >> lod;
                const int height = kHeight >> lod;
                Pixels expected(width, height);
                for (int y = 0; y < height; ++y) {
                    for (int x = 0; x < width; ++x) {
                        const Vec N = directionOfLatLong(center(x, width), center(y, height));
                        const Vec color = filtered(model, N, y, lod / 3.0, kSamples, 128, 64);
                        expected.at(x, y) = toPixel(only(color, level));
                    }
                }
                Pixels actual = Pixels::ofTexture(GL_TEXTURE_2D, result->textureID(), lod);
                for (int i = 0; i < width * height && !level; ++i) {
                    actual.at(i % width, i / width).setZ(0.0f);
                }
                ASSERT_TRUE(actual.isNear(expected, 1e-3f)) << "model " << model << ", level " << lod;
            }
        }
    }
}

TEST_F(PrefilteredEnvMapTest, AWhiteFurnaceStaysWhite)
{
    const auto cubeSource = cube(16, 1, white);
    const auto latLongSource = latLong(32, 16, 1, white);
    for (const ShadingModel model : kModels) {
        const auto cubeResult = bakeCube(cubeSource.get(), 4, 32, model);
        const auto latLongResult = bakeLatLong(latLongSource.get(), 8, 4, 32, model);
        for (int lod = 0; lod < 3; ++lod) {
            const Pixels face = Pixels::ofTexture(GL_TEXTURE_CUBE_MAP, cubeResult->textureID(), lod, 3);
            EXPECT_TRUE(face.isNear(Pixels(4 >> lod, 4 >> lod, {1, 1, 1, 1}), 1e-6f)) << model;
            const Pixels image = Pixels::ofTexture(GL_TEXTURE_2D, latLongResult->textureID(), lod);
            EXPECT_TRUE(image.isNear(Pixels(8 >> lod, 4 >> lod, {1, 1, 1, 1}), 1e-6f)) << model;
        }
    }
}

TEST_F(PrefilteredEnvMapTest, TilesChangeTheDrawsAndNotTheImage)
{
    const auto source = latLong(64, 32, 1, directionAlone);
    const auto whole = bakeLatLong(source.get(), 24, 12, 16, SHADING_PHYSICALLY_BASED);
    const Tap<&glDrawArrays> draws;
    const Tap<&glScissor> scissors;
    const Tap<&glFlush> flushes;
    SetPrefilteredTilseSizeMax(10);
    const auto tiled = bakeLatLong(source.get(), 24, 12, 16, SHADING_PHYSICALLY_BASED);
    SetPrefilteredTilseSizeMax(0); // would never end
    const auto dots = bakeLatLong(source.get(), 2, 2, 1, SHADING_PHYSICALLY_BASED);
    SetPrefilteredTilseSizeMax(1024);
    EXPECT_EQ(size_t(3 * 2 + 2 + 1 + 1 + 4 + 1),
              draws.count()); // 24 x 12, 12 x 6, 6 x 3, 3 x 1; 2 x 2, 1 x 1
    EXPECT_EQ(draws.count(), flushes.count());
    const std::vector<std::tuple<GLint, GLint, GLsizei, GLsizei>> level0 = {
        {0, 0, 10, 10}, {0, 10, 10, 2}, {10, 0, 10, 10}, {10, 10, 10, 2}, {20, 0, 4, 10}, {20, 10, 4, 2}};
    ASSERT_LE(level0.size(), scissors.count());
    EXPECT_TRUE(std::equal(level0.begin(), level0.end(), scissors.calls().begin()));
    for (int lod = 0; lod < 4; ++lod) {
        const Pixels expected = Pixels::ofTexture(GL_TEXTURE_2D, whole->textureID(), lod);
        EXPECT_TRUE(Pixels::ofTexture(GL_TEXTURE_2D, tiled->textureID(), lod).isNear(expected, 0.0f)) << lod;
    }
}

namespace {

/// What a sample adds to the two sums of the table; see evaluateBRDF().
std::array<double, 2> evaluate(ShadingModel model, const Vec &L, const Vec &V, const Vec &H, double roughness)
{
    const double NdotV = V[2];
    const double NdotL = L[2];
    const double VdotH = std::min(std::max(dot(V, H), 0.0), 1.0);
    const double fc = std::pow(1.0 - VdotH, 5);
    const double k = roughness * roughness / 2.0;
    const double fd90 = 0.5 + 2.0 * dot(L, H) * dot(L, H) * roughness;
    const double D =
        (1.0 + (fd90 - 1.0) * std::pow(1.0 - NdotV, 5)) * (1.0 + (fd90 - 1.0) * std::pow(1.0 - NdotL, 5));
    switch (model) {
    case SHADING_TRADITIONAL:
        return {1.0, fc};
    case SHADING_ENERY_CONSERVING: {
        const double g = NdotL / std::max(NdotL, NdotV);
        return {g, fc * g};
    }
    case SHADING_PHYSICALLY_BASED: {
        const double g = 1.0 / (NdotV * (1 - k) + k) * NdotL / (NdotL * (1 - k) + k) * VdotH / H[2];
        return {g, fc * g};
    }
    case SHADING_LAMBERTIAN_DIFFUSE:
        return {1.0, D};
    default: {
        const double s2 = roughness * roughness;
        const double cosAlpha = std::max(NdotV, NdotL);
        const double cosBeta = NdotL; // the assignments that look like a swap are none
        const double planes = V[0] * L[0] / (std::fabs(V[0]) * std::hypot(L[0], L[1]));
        const double sines = std::sqrt((1.0 - cosAlpha * cosAlpha) * (1.0 - cosBeta * cosBeta));
        const double R =
            1.0 - 0.5 * s2 / (s2 + 0.33) + 0.45 * s2 / (s2 + 0.09) * std::max(0.0, planes) * sines / cosBeta;
        return {R, R * D};
    }
    }
}

} // namespace

TEST_F(PrefilteredEnvMapTest, TheTableHoldsTheIntegratedBRDFOfEveryModel)
{
    constexpr int kSize = 40;
    constexpr unsigned kSamples = 1024;
    for (const ShadingModel model : kModels) {
        const std::unique_ptr<Texture> table(CreatePreintegratedBRDFTable(kSize, kSize, 7, model, RGBA32F));
        ASSERT_NE(nullptr, table);
        const Pixels actual = Pixels::ofTexture(GL_TEXTURE_2D, table->textureID());
        for (int y = 0; y < kSize; y += 10) {
            for (int x = 0; x < kSize; x += 10) {
                const double NdotV = center(x, kSize);
                const double roughness = center(y, kSize);
                const Vec V{std::sqrt(1.0 - NdotV * NdotV), 0.0, NdotV};
                double sums[2] = {0.0, 0.0};
                for (unsigned i = 0; i < kSamples; ++i) {
                    const Vec s = sampleOf(model, i, kSamples, roughness);
                    const Vec L = isDiffuse(model) ? s : sum(s, 2.0 * dot(V, s), V, -1.0);
                    if (L[2] > 0.0) {
                        const Vec H = isDiffuse(model) ? normalized(sum(L, 1.0, V, 1.0)) : s;
                        const auto pair = evaluate(model, L, V, H, roughness);
                        sums[0] += pair[0] / kSamples;
                        sums[1] += pair[1] / kSamples;
                    }
                }
                const float tolerance = 1e-3f * float(std::max(1.0, sums[0]));
                EXPECT_TRUE(actual.isNear(
                    x, y, {float(sums[0]), float(sums[1]), 7.0f * float(roughness), 1.0f}, tolerance))
                    << "model " << model;
            }
        }
    }
}

TEST_F(PrefilteredEnvMapTest, WhatComesBackIsReadOnlyAndReadyToSample)
{
    const auto source = cube(16, 1, white);
    const auto image = latLong(32, 16, 1, white);
    const auto cubeResult = bakeCube(source.get(), 8, 1, SHADING_PHYSICALLY_BASED);
    const auto latLongResult = bakeLatLong(image.get(), 16, 8, 1, SHADING_PHYSICALLY_BASED);
    const std::unique_ptr<Texture> table(
        CreatePreintegratedBRDFTable(4, 4, 4, SHADING_PHYSICALLY_BASED, RGBA16F));
    for (Texture *result : {cubeResult.get(), latLongResult.get()}) {
        EXPECT_TRUE(result->isReadOnly());
        EXPECT_FALSE(result->isBound());
        EXPECT_EQ(GL_LINEAR_MIPMAP_LINEAR, textureParameter(*result, GL_TEXTURE_MIN_FILTER));
        EXPECT_EQ(GL_LINEAR, textureParameter(*result, GL_TEXTURE_MAG_FILTER));
        EXPECT_EQ(GL_CLAMP_TO_EDGE, textureParameter(*result, GL_TEXTURE_WRAP_T));
        EXPECT_EQ(0, textureParameter(*result, GL_TEXTURE_MIN_LOD));
        EXPECT_EQ(3, textureParameter(*result, GL_TEXTURE_MAX_LOD));
        EXPECT_EQ(3, textureParameter(*result, GL_TEXTURE_MAX_LEVEL));
    }
    EXPECT_EQ(GL_CLAMP_TO_EDGE, textureParameter(*cubeResult, GL_TEXTURE_WRAP_S));
    EXPECT_EQ(GL_REPEAT, textureParameter(*latLongResult, GL_TEXTURE_WRAP_S));
    EXPECT_TRUE(table->isReadOnly());
    EXPECT_EQ(GL_LINEAR, textureParameter(*table, GL_TEXTURE_MIN_FILTER));
    EXPECT_EQ(0, textureParameter(*table, GL_TEXTURE_MAX_LEVEL));
    EXPECT_EQ(GL_CLAMP_TO_EDGE, textureParameter(*table, GL_TEXTURE_WRAP_S));
}

TEST_F(PrefilteredEnvMapTest, NullSourcesGiveNull)
{
    EXPECT_EQ(nullptr, CreatePrefilteredCubeEnvMap(nullptr, 8, 1, SHADING_TRADITIONAL, RGBA16F));
    EXPECT_EQ(nullptr, CreatePrefilteredLatLongEnvMap(nullptr, 8, 8, 1, SHADING_TRADITIONAL, RGBA16F));
}

TEST_F(PrefilteredEnvMapTest, BakesLeaveTheStateThatTheyAreStatedToLeave)
{
    const auto source = cube(16, 1, white);
    const auto image = latLong(32, 16, 1, white);
    GLuint framebuffer = 0;
    driver()->glGenFramebuffers(1, &framebuffer);
    const auto changesOf = [&](const std::function<void()> &bake) {
        driver()->glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        driver()->glViewport(1, 2, 3, 4);
        driver()->glScissor(5, 6, 7, 8);
        driver()->glEnable(GL_BLEND);
        driver()->glEnable(GL_SCISSOR_TEST);
        driver()->glDisable(GL_DEPTH_TEST);
        driver()->glDepthMask(GL_FALSE);
        driver()->glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
        const StateGuard guard;
        bake();
        QStringList names;
        for (const QString &change : guard.changes()) {
            names += change.section(' ', 0, 0);
        }
        for (const char *ofTheFramebuffer : {"GL_DRAW_BUFFER", "GL_READ_BUFFER"}) {
            names.removeAll(ofTheFramebuffer);
        }
        names.removeAll("GL_ACTIVE_TEXTURE"); // that of the last unbind
        return names;
    };
    EXPECT_EQ((QStringList{"GL_BLEND", "GL_COLOR_CLEAR_VALUE", "GL_DEPTH_TEST", "GL_DEPTH_WRITEMASK",
                           "GL_DRAW_FRAMEBUFFER_BINDING", "GL_READ_FRAMEBUFFER_BINDING"}),
              changesOf([&] { bakeCube(source.get(), 4, 1, SHADING_TRADITIONAL); }));
    EXPECT_EQ((QStringList{"GL_BLEND", "GL_COLOR_CLEAR_VALUE", "GL_DEPTH_TEST", "GL_DEPTH_WRITEMASK",
                           "GL_SCISSOR_BOX", "GL_SCISSOR_TEST"}),
              changesOf([&] { bakeLatLong(image.get(), 4, 4, 1, SHADING_TRADITIONAL); }));
    EXPECT_EQ((QStringList{"GL_BLEND", "GL_DEPTH_TEST", "GL_DEPTH_WRITEMASK"}),
              changesOf([&] { delete CreatePreintegratedBRDFTable(4, 4, 4, SHADING_TRADITIONAL, RGBA16F); }));
    driver()->glBindFramebuffer(GL_FRAMEBUFFER, 0);
    driver()->glDeleteFramebuffers(1, &framebuffer);
}
