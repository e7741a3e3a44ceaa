// Compares the bakes with the same mathematics in double precision.

#include "support/GLFixture.h"
#include "support/Pixels.h"
#include "support/StateGuard.h"
#include "support/Tap.h"
#include "support/TextureParameter.h"
#include "support/Vec.h"

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
constexpr ShadingModel kModels[] = {SHADING_TRADITIONAL, SHADING_ENERY_CONSERVING, SHADING_PHYSICALLY_BASED,
                                    SHADING_LAMBERTIAN_DIFFUSE, SHADING_OREN_NAYAR_DIFFUSE};

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

/// A sample around +z: the half vector, or for diffuse models the direction of the light.
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

double center(int i, int size)
{
    return (i + 0.5) / size;
}

/// The place of a direction in an image of latitude and longitude.
std::array<double, 2> latLongOf(const Vec &d)
{
    return {std::atan2(d.z, d.x) / (2 * kPi) + 0.5,
            std::asin(std::min(std::max(d.y, -1.0), 1.0)) / kPi + 0.5};
}

/// An environment, a cube map or an image of latitude and longitude: as a texture for GL, and on the CPU for the reference,
/// which reads the same texels as GL, trilinearly, and across the edges of a cube's faces.
class Environment
{
public:
    using Colors = std::function<Vec(const Vec &direction, int level)>;

    Environment(GLenum target, int height, int levels, const Colors &colors)
        : _faces(target == GL_TEXTURE_CUBE_MAP ? 6 : 1)
    {
        const int width = _faces == 6 ? height : 2 * height;
        _texture = std::make_unique<Texture>(target, GL_RGBA32F, width, height, 0, nullptr);
        _texture->bind();
        for (int level = 0; level < levels; ++level) {
            for (int face = 0; face < _faces; ++face) {
                const int w = width >> level;
                const int h = height >> level;
                _images.push_back(Pixels::of(w, h, [&](int x, int y) {
                    const Vec c = colors(direction(face, center(x, w), center(y, h)), level);
                    return QVector4D(float(c.x), float(c.y), float(c.z), 1.0f);
                }));
                const GLenum image = _faces == 6 ? GL_TEXTURE_CUBE_MAP_POSITIVE_X + unsigned(face) : target;
                driver()->glTexImage2D(image, level, GL_RGBA32F, w, h, 0, GL_RGBA, GL_FLOAT,
                                       _images.back().data());
            }
        }
        const GLint wrap = _faces == 6 ? GL_CLAMP_TO_EDGE : GL_REPEAT;
        for (const auto &[name, value] : {std::pair<GLenum, GLint>(GL_TEXTURE_MAX_LEVEL, levels - 1),
                                          {GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR},
                                          {GL_TEXTURE_MAG_FILTER, GL_LINEAR},
                                          {GL_TEXTURE_WRAP_S, wrap},
                                          {GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE}}) {
            driver()->glTexParameteri(target, name, value);
        }
        _texture->unbind();
    }

    int width() const { return _images[0].width(); }
    int height() const { return _images[0].height(); }
    int faces() const { return _faces; }

    Vec direction(int face, double u, double v) const
    {
        if (_faces == 1) {
            const double phi = (u - 0.5) * 2.0 * kPi;
            const double theta = (v - 0.5) * kPi;
            return {std::cos(phi) * std::cos(theta), std::sin(theta), std::sin(phi) * std::cos(theta)};
        }
        return normalized(directionOfFace(face, u, v));
    }

    Vec read(const Vec &d, double lod) const
    {
        const int last = int(_images.size()) / _faces - 1;
        const double clamped = std::min(std::max(lod, 0.0), double(last));
        const int level = int(clamped);
        const Place place = placeOf(d);
        return (1.0 - (clamped - level)) * bilinear(level, place)
               + (clamped - level) * bilinear(std::min(level + 1, last), place);
    }

    std::unique_ptr<Texture> baked(int height, unsigned samples, ShadingModel model) const
    {
        return std::unique_ptr<Texture>(
            _faces == 6 ? CreatePrefilteredCubeEnvMap(_texture.get(), height, samples, model, RGBA32F)
                        : CreatePrefilteredLatLongEnvMap(_texture.get(), 2 * height, height, samples, model,
                                                         RGBA32F));
    }

private:
    struct Place
    {
        int face;
        double u, v;
    };

    Place placeOf(const Vec &d) const
    {
        if (_faces == 1) {
            const auto [u, v] = latLongOf(d);
            return {0, u, v};
        }
        const double a[] = {std::fabs(d.x), std::fabs(d.y), std::fabs(d.z)};
        const double c[] = {d.x, d.y, d.z};
        const int axis = a[0] >= a[1] && a[0] >= a[2] ? 0 : a[1] >= a[2] ? 1 : 2;
        const int face = 2 * axis + (c[axis] < 0.0 ? 1 : 0);
        const double s[] = {-d.z, d.z, d.x, d.x, d.x, -d.x};
        const double t[] = {-d.y, -d.y, d.z, -d.z, -d.y, -d.y};
        return {face, 0.5 * s[face] / a[axis] + 0.5, 0.5 * t[face] / a[axis] + 0.5};
    }

    /// A texel of the image, or up to one texel outside: around the horizon, at a pole, or on the next face.
    Vec texel(int level, int face, int x, int y) const
    {
        const Pixels &image = _images[size_t(level * _faces + face)];
        const int w = image.width();
        const int h = image.height();
        if (_faces == 1) {
            return image.at((x + w) % w, std::min(std::max(y, 0), h - 1)).toVector3D();
        }
        if (x >= 0 && x < w && y >= 0 && y < w) {
            return image.at(x, y).toVector3D();
        }
        const Place next = placeOf(direction(face, center(x, w), center(y, w)));
        return texel(level, next.face, int(next.u * w), int(next.v * w));
    }

    Vec bilinear(int level, const Place &place) const
    {
        const Pixels &image = _images[size_t(level * _faces)];
        const double x = place.u * image.width() - 0.5;
        const double y = place.v * image.height() - 0.5;
        const auto isOutside = [](double i, int size) { return i < 0 || i >= size; };
        Vec sum(0, 0, 0);
        Vec others(0, 0, 0);
        double weightOfCorner = 0.0;
        for (int i = 0; i < 4; ++i) {
            const double column = std::floor(x) + i % 2;
            const double row = std::floor(y) + i / 2;
            const double weight = (1.0 - std::fabs(x - column)) * (1.0 - std::fabs(y - row));
            if (_faces == 6 && isOutside(column, image.width()) && isOutside(row, image.height())) {
                weightOfCorner = weight; // where three faces meet, the corner is the mean of the others
                continue;
            }
            const Vec color = texel(level, place.face, int(column), int(row));
            sum = sum + weight * color;
            others = others + color;
        }
        return sum + weightOfCorner / 3.0 * others;
    }

    int _faces;
    std::unique_ptr<Texture> _texture;
    std::vector<Pixels> _images; ///< level after level, face after face
};

/// The expected pixel of a filtered environment. row is the pixel's row on its level.
Vec filtered(const Environment &source, ShadingModel model, const Vec &N, int row, double roughness,
             unsigned n)
{
    const Vec up = std::fabs(N.y) < 0.999 ? Vec(0, 1, 0) : Vec(0, 0, -1);
    const Vec Tx = normalized(cross(up, N));
    const Vec Ty = cross(N, Tx);
    const double south = std::sin((row / (source.height() + 1.0) - 0.5) * kPi);
    const double north = std::sin(((row + 1) / (source.height() + 1.0) - 0.5) * kPi);
    const double texel = std::max(2.0 * kPi / source.width() * (north - south), 1e-6);
    Vec total(0, 0, 0);
    double weight = 0.0;
    for (unsigned i = 0; i < n; ++i) {
        const Vec s = sampleOf(model, i, n, roughness);
        const Vec d = s.x * Tx + s.y * Ty + s.z * N;
        const Vec L = isDiffuse(model) ? d : 2.0 * dot(N, d) * d - N;
        const Vec H = isDiffuse(model) ? normalized(L + N) : d;
        const double NdotL = std::min(dot(N, L), 1.0);
        if (NdotL > 0.0) {
            const double NdotH = std::min(dot(N, H), 1.0);
            const double density = std::max(densityOf(model, roughness, NdotH, NdotH), 1e-6);
            const double lod = roughness == 0.0 ? 0.0 : 0.5 * std::log2(1.0 / (n * density) / texel);
            total = total + NdotL * source.read(L, lod);
            weight += NdotL;
        }
    }
    return 1.0 / weight * total;
}

Vec white(const Vec &, int)
{
    return {1.0, 1.0, 1.0};
}

/// Colours of high contrast, which differ from texel to texel.
Vec noise(const Vec &L, int level)
{
    const auto at = [&](double seed) {
        const double sine = 43758.5 * std::sin(seed * L.x + 78.2 * L.y + 37.7 * L.z + level);
        return 0.1 + std::pow(10.0, 2.0 * (sine - std::floor(sine)));
    };
    return {at(12.9), at(5.1), at(91.3)};
}

class PrefilteredEnvMapTest : public GLTest
{
protected:
    PrefilteredEnvMapTest() { OpenGLDeviceContext::current()->fullscreenQuad(); }

    ~PrefilteredEnvMapTest() override { OpenGLDeviceContext::resetContext(); }
};

} // namespace

TEST_F(PrefilteredEnvMapTest, LevelsAndRoughness)
{
    for (const auto &[width, height, levels] :
         {std::tuple(1, 4096, 1), {4096, 1, 1}, {2, 3, 2}, {256, 256, 9}, {1024, 512, 10}, {512, 1024, 10}}) {
        EXPECT_EQ(levels, MaxLODLevel(width, height)) << width;
    }
    for (const ShadingModel model : kModels) {
        EXPECT_EQ(0.0f, RoughnessForLOD(0, 9, model));
        EXPECT_EQ(0.375f, RoughnessForLOD(3, 9, model));
        EXPECT_EQ(1.0f, RoughnessForLOD(8, 9, model));
        EXPECT_TRUE(std::isnan(RoughnessForLOD(0, 1, model)));
    }
}

TEST_F(PrefilteredEnvMapTest, BakesHoldTheIntegralOfEveryModelAndRoughness)
{
    constexpr unsigned kSamples = 32;
    driver()->glEnable(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    for (const auto &[colors, tolerance] : {std::pair(noise, 1e-3f), {white, 1e-6f}}) {
        for (const GLenum target : {GL_TEXTURE_CUBE_MAP, GL_TEXTURE_2D}) {
            const Environment source(target, 16, 4, colors);
            for (const ShadingModel model : kModels) {
                const auto result = source.baked(8, kSamples, model);
                ASSERT_NE(nullptr, result);
                for (int i = 0; i < 4 * source.faces(); ++i) {
                    const int lod = i / source.faces();
                    const int face = i % source.faces();
                    const Pixels actual = Pixels::ofTexture(target, result->textureID(), lod, face);
                    const Pixels quotient = Pixels::of(actual.width(), actual.height(), [&](int x, int y) {
                        const Vec N =
                            source.direction(face, center(x, actual.width()), center(y, actual.height()));
                        const Vec c = filtered(source, model, N, y, lod / 3.0, kSamples);
                        return actual.at(x, y) / QVector4D(float(c.x), float(c.y), float(c.z), 1.0f);
                    });
                    ASSERT_TRUE(
                        quotient.isNear(Pixels(actual.width(), actual.height(), {1, 1, 1, 1}), tolerance))
                        << "target " << target << ", model " << model << ", level " << lod << ", face "
                        << face;
                }
            }
        }
    }
}

TEST_F(PrefilteredEnvMapTest, TilesChangeTheDrawsAndNotTheImage)
{
    const Environment source(GL_TEXTURE_2D, 32, 1, noise);
    const auto whole = source.baked(12, 16, SHADING_PHYSICALLY_BASED);
    const Tap<&glDrawArrays> draws;
    const Tap<&glScissor> scissors;
    const Tap<&glFlush> flushes;
    SetPrefilteredTilseSizeMax(10);
    const auto tiled = source.baked(12, 16, SHADING_PHYSICALLY_BASED);
    SetPrefilteredTilseSizeMax(0); // must not loop for ever
    const auto dots = source.baked(2, 1, SHADING_PHYSICALLY_BASED);
    SetPrefilteredTilseSizeMax(1024);
    EXPECT_EQ(size_t(3 * 2 + 2 * 1 + 1 + 1 + 8 + 2),
              draws.count()); // 24 x 12, 12 x 6, 6 x 3, 3 x 1; 4 x 2, 2 x 1
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

TEST_F(PrefilteredEnvMapTest, EachFaceOfEachLevelOfACubeIsAJobOfItsOwn)
{
    const Environment source(GL_TEXTURE_CUBE_MAP, 16, 1, white);
    const Tap<&glFramebufferTexture2D> attachments;
    const Tap<&glDrawArrays> draws;
    const Tap<&glFlush> flushes;
    const Tap<&glScissor> scissors;
    const auto cube = source.baked(4, 1, SHADING_PHYSICALLY_BASED);
    std::vector<std::tuple<GLenum, GLenum, GLenum, GLuint, GLint>> expected;
    for (int i = 0; i < 3 * 6; ++i) {
        const auto face = GLenum(GL_TEXTURE_CUBE_MAP_POSITIVE_X + i % 6);
        expected.emplace_back(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, face, cube->textureID(), i / 6);
        expected.emplace_back(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, face, 0, 0);
    }
    EXPECT_EQ(expected, attachments.calls());
    EXPECT_EQ(18u, draws.count());
    EXPECT_EQ(18u, flushes.count());
    EXPECT_EQ(0u, scissors.count());
}

namespace {

/// What a sample adds to the two sums of the table; see evaluateBRDF().
std::array<double, 2> evaluate(ShadingModel model, const Vec &L, const Vec &V, const Vec &H, double roughness)
{
    const double NdotV = V.z;
    const double NdotL = L.z;
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
        const double g = 1.0 / (NdotV * (1 - k) + k) * NdotL / (NdotL * (1 - k) + k) * VdotH / H.z;
        return {g, fc * g};
    }
    case SHADING_LAMBERTIAN_DIFFUSE:
        return {1.0, D};
    default: {
        const double s2 = roughness * roughness;
        const double cosAlpha = std::max(NdotV, NdotL);
        const double cosBeta = NdotL; // the two assignments are not a swap
        const double planes = V.x * L.x / (std::fabs(V.x) * std::hypot(L.x, L.y));
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
    constexpr int kSize = 33;
    constexpr unsigned kSamples = 1024;
    for (const ShadingModel model : kModels) {
        const std::unique_ptr<Texture> table(CreatePreintegratedBRDFTable(kSize, kSize, 7, model, RGBA32F));
        ASSERT_NE(nullptr, table);
        const Pixels actual = Pixels::ofTexture(GL_TEXTURE_2D, table->textureID());
        for (int texel = 0; texel < kSize * kSize; texel += 10) {
            const double NdotV = center(texel % kSize, kSize);
            const double roughness = center(texel / kSize, kSize);
            const Vec V{std::sqrt(1.0 - NdotV * NdotV), 0.0, NdotV};
            double sums[2] = {0.0, 0.0};
            for (unsigned i = 0; i < kSamples; ++i) {
                const Vec s = sampleOf(model, i, kSamples, roughness);
                const Vec L = isDiffuse(model) ? s : 2.0 * dot(V, s) * s - V;
                if (L.z > 0.0) {
                    const Vec H = isDiffuse(model) ? normalized(L + V) : s;
                    const auto pair = evaluate(model, L, V, H, roughness);
                    sums[0] += pair[0] / kSamples;
                    sums[1] += pair[1] / kSamples;
                }
            }
            const QVector4D quotient =
                actual.at(texel % kSize, texel / kSize)
                / QVector4D(float(sums[0]), float(sums[1]), 7.0f * float(roughness), 1.0f);
            EXPECT_TRUE(Pixels(1, 1, quotient).isNear(0, 0, {1, 1, 1, 1}, 1e-3f))
                << "model " << model << ", texel " << texel;
        }
    }
    const std::unique_ptr<Texture> level05InSRGB(CreatePreintegratedBRDFTable(1, 1, 1, kModels[0], SRGB8A8));
    EXPECT_NEAR(188 / 255.0, Pixels::ofTexture(GL_TEXTURE_2D, level05InSRGB->textureID()).at(0, 0).z(), 5e-3);
}

TEST_F(PrefilteredEnvMapTest, WhatComesBackIsReadOnlyAndReadyToSample)
{
    constexpr ShadingModel kModel = SHADING_PHYSICALLY_BASED;
    const auto cube = Environment(GL_TEXTURE_CUBE_MAP, 16, 1, white).baked(8, 1, kModel);
    const auto latLong = Environment(GL_TEXTURE_2D, 16, 1, white).baked(8, 1, kModel);
    const std::unique_ptr<Texture> table(CreatePreintegratedBRDFTable(4, 4, 4, kModel, RGBA16F));
    EXPECT_EQ(nullptr, CreatePrefilteredCubeEnvMap(nullptr, 8, 1, kModel, RGBA16F));
    EXPECT_EQ(nullptr, CreatePrefilteredLatLongEnvMap(nullptr, 8, 8, 1, kModel, RGBA16F));
    const struct
    {
        Texture *texture;
        GLint minFilter, wrapS, lastLevel, minLod, maxLod;
    } rows[] = {{cube.get(), GL_LINEAR_MIPMAP_LINEAR, GL_CLAMP_TO_EDGE, 3, 0, 3},
                {latLong.get(), GL_LINEAR_MIPMAP_LINEAR, GL_REPEAT, 3, 0, 3},
                {table.get(), GL_LINEAR, GL_CLAMP_TO_EDGE, 0, -1000, 1000}};
    for (const auto &row : rows) {
        EXPECT_TRUE(row.texture->isReadOnly());
        EXPECT_FALSE(row.texture->isBound());
        EXPECT_EQ(
            (std::vector<GLint>{row.minFilter, GL_LINEAR, row.wrapS, GL_CLAMP_TO_EDGE, 0, row.lastLevel}),
            samplingOf(*row.texture));
        EXPECT_EQ(row.minLod, textureParameter(*row.texture, GL_TEXTURE_MIN_LOD));
        EXPECT_EQ(row.maxLod, textureParameter(*row.texture, GL_TEXTURE_MAX_LOD));
    }
}

TEST_F(PrefilteredEnvMapTest, BakesLeaveTheStateThatTheyAreStatedToLeave)
{
    const Environment cube(GL_TEXTURE_CUBE_MAP, 16, 1, white);
    const Environment latLong(GL_TEXTURE_2D, 16, 1, white);
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
        // Leaves out the buffers of another framebuffer, and the unit of the last unbind.
        return guard.changes().filter(QRegExp("^GL_(?!DRAW_BUFFER|READ_BUFFER|ACTIVE_TEXTURE)"));
    };
    const QStringList common{"GL_BLEND 1 -> 0", "GL_COLOR_CLEAR_VALUE 0 0 0 0 -> 1 1 0 1",
                             "GL_DEPTH_TEST 0 -> 1", "GL_DEPTH_WRITEMASK 0 -> 1"};
    const QString unbound = QStringLiteral("GL_%2_FRAMEBUFFER_BINDING %1 -> 0").arg(framebuffer);
    EXPECT_EQ(common + QStringList({unbound.arg("DRAW"), unbound.arg("READ")}),
              changesOf([&] { cube.baked(4, 1, SHADING_TRADITIONAL); }));
    EXPECT_EQ(common + QStringList({"GL_SCISSOR_BOX 5 6 7 8 -> 0 0 2 1", "GL_SCISSOR_TEST 1 -> 0"}),
              changesOf([&] { latLong.baked(4, 1, SHADING_TRADITIONAL); }));
    EXPECT_EQ(common.filter(QRegExp("^GL_[BD]")), // the table is not cleared
              changesOf([&] { delete CreatePreintegratedBRDFTable(4, 4, 4, SHADING_TRADITIONAL, RGBA16F); }));
    driver()->glDisable(GL_SCISSOR_TEST);
    driver()->glBindFramebuffer(GL_FRAMEBUFFER, 0);
    driver()->glDeleteFramebuffers(1, &framebuffer);
}
