// Compares the bakes with the same mathematics in double precision.

#include "support/DrawnPixels.h"
#include "support/GLFixture.h"
#include "support/HostRaster.h"
#include "support/Pixels.h"
#include "support/Tap.h"
#include "support/TestProgram.h"
#include "support/TextureParameter.h"
#include "support/Vec.h"

#include <ZelGL/AutoBinder.h>
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
constexpr unsigned kSamples = 32;
constexpr int kHeight = 8; ///< of a bake
constexpr int kLevels = 4;
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

/// With the view along the normal.
double densityOf(ShadingModel model, double roughness, double NdotH)
{
    const double Ns = phongExponent(roughness);
    switch (model) {
    case SHADING_TRADITIONAL: {
        const double c = std::pow(NdotH, 1.0 / (Ns + 1.0));
        return (Ns + 1.0) / (2.0 * kPi) * std::pow(c, Ns) * std::sqrt(std::max(0.0, 1.0 - c * c));
    }
    case SHADING_ENERY_CONSERVING:
        return (Ns + 1.0) * std::pow(NdotH, Ns - 1.0) / (8.0 * kPi);
    case SHADING_PHYSICALLY_BASED: {
        const double a4 = std::pow(roughness, 4);
        const double t = NdotH * NdotH * (a4 - 1.0) + 1.0;
        return a4 / (kPi * t * t) / 4.0;
    }
    default:
        return NdotH / kPi;
    }
}

double center(int i, int size)
{
    return (i + 0.5) / size;
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

constexpr char kRead[] = R"(#version 150
uniform sampler2D u_Lookups;
uniform %1 u_Map;
out vec4 color;
void main()
{
    vec4 lookup = texelFetch(u_Lookups, ivec2(gl_FragCoord.xy), 0);
    color = textureLod(u_Map, lookup.%2, lookup.w);
}
)";

/// An environment, a cube map or an image of latitude and longitude.
class Environment
{
public:
    Environment(GLenum target, int height, int levels)
        : faces(target == GL_TEXTURE_CUBE_MAP ? 6 : 1)
        , _width(faces == 6 ? height : 2 * height)
        , _height(height)
        , _texture(target, GL_RGBA32F, _width, _height, 0, nullptr)
        , _program(makeProgram(kAllOver, faces == 6 ? QString(kRead).arg("samplerCube", "xyz")
                                                    : QString(kRead).arg("sampler2D", "xy")))
    {
        const AutoBinder binder(&_texture);
        for (int level = 0; level < levels; ++level) {
            for (int face = 0; face < faces; ++face) {
                const int w = _width >> level;
                const int h = _height >> level;
                const Pixels image = Pixels::of(w, h, [&](int x, int y) {
                    return QVector4D(noise(direction(face, center(x, w), center(y, h)), level).rounded(), 1);
                });
                const GLenum side = faces == 6 ? GL_TEXTURE_CUBE_MAP_POSITIVE_X + unsigned(face) : target;
                driver()->glTexImage2D(side, level, GL_RGBA32F, w, h, 0, GL_RGBA, GL_FLOAT, image.data());
            }
        }
        const GLint wrap = faces == 6 ? GL_CLAMP_TO_EDGE : GL_REPEAT;
        for (const auto &[name, value] : {std::pair<GLenum, GLint>(GL_TEXTURE_MAX_LEVEL, levels - 1),
                                          {GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR},
                                          {GL_TEXTURE_MAG_FILTER, GL_LINEAR},
                                          {GL_TEXTURE_WRAP_S, wrap},
                                          {GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE}}) {
            driver()->glTexParameteri(target, name, value);
        }
    }

    Vec direction(int face, double u, double v) const
    {
        if (faces == 6) {
            return normalized(directionOfFace(face, u, v));
        }
        const double phi = (u - 0.5) * 2.0 * kPi;
        const double theta = (v - 0.5) * kPi;
        return {std::cos(phi) * std::cos(theta), std::sin(theta), std::sin(phi) * std::cos(theta)};
    }

    std::unique_ptr<Texture> baked(int height, unsigned samples, ShadingModel model)
    {
        return std::unique_ptr<Texture>(
            faces == 6
                ? CreatePrefilteredCubeEnvMap(&_texture, height, samples, model, RGBA32F)
                : CreatePrefilteredLatLongEnvMap(&_texture, 2 * height, height, samples, model, RGBA32F));
    }

    /// What the faces of all levels of a bake should be. Directions, levels and weights are computed here; GL reads the
    /// texels.
    std::vector<Pixels> filtered(ShadingModel model)
    {
        std::vector<Pixels> pictures;
        std::vector<QVector4D> lookups; // kSamples for each texel
        std::vector<double> weights;
        for (int picture = 0; picture < kLevels * faces; ++picture) {
            const int size = kHeight >> picture / faces;
            const int width = faces == 6 ? size : 2 * size;
            const double roughness = picture / faces / (kLevels - 1.0);
            pictures.emplace_back(width, size);
            for (int texel = 0; texel < width * size; ++texel) {
                const int row = texel / width;
                const Vec N = direction(picture % faces, center(texel % width, width), center(row, size));
                const Vec up = std::fabs(N.y) < 0.999 ? Vec(0, 1, 0) : Vec(0, 0, -1);
                const Vec Tx = normalized(cross(up, N));
                const Vec Ty = cross(N, Tx);
                const double south = std::sin((row / (_height + 1.0) - 0.5) * kPi);
                const double north = std::sin(((row + 1) / (_height + 1.0) - 0.5) * kPi);
                const double angle = std::max(2.0 * kPi / _width * (north - south), 1e-6);
                for (unsigned i = 0; i < kSamples; ++i) {
                    const Vec s = sampleOf(model, i, kSamples, roughness);
                    const Vec d = s.x * Tx + s.y * Ty + s.z * N;
                    const Vec L = isDiffuse(model) ? d : 2.0 * dot(N, d) * d - N;
                    const Vec H = isDiffuse(model) ? normalized(L + N) : d;
                    const double NdotH = std::min(dot(N, H), 1.0);
                    const double density = std::max(densityOf(model, roughness, NdotH), 1e-6);
                    const double lod =
                        roughness == 0.0 ? 0.0 : 0.5 * std::log2(1.0 / (kSamples * density) / angle);
                    const Vec latLong(std::atan2(L.z, L.x) / (2 * kPi) + 0.5,
                                      std::asin(std::clamp(L.y, -1.0, 1.0)) / kPi + 0.5, 0);
                    lookups.emplace_back((faces == 6 ? L : latLong).rounded(), float(lod));
                    weights.push_back(std::clamp(dot(N, L), 0.0, 1.0));
                }
            }
        }
        const int rows = int(lookups.size() / kSamples);
        Texture source(nullptr);
        source.create2D(GL_TEXTURE_2D, GL_RGBA32F, kSamples, unsigned(rows));
        const AutoBinder sourceBinder(&source);
        driver()->glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, kSamples, rows, GL_RGBA, GL_FLOAT, lookups.data());
        const AutoBinder mapBinder(&_texture);
        const AutoBinder binder(_program.get());
        _program->setUniform("u_Lookups", QVariant(int(source.unit())));
        _program->setUniform("u_Map", QVariant(int(_texture.unit())));
        const Pixels colors = drawnPixels(*_program, kSamples, rows);
        size_t next = 0;
        for (Pixels &picture : pictures) {
            picture = Pixels::of(picture.width(), picture.height(), [&](int, int) {
                Vec sum(0, 0, 0);
                double total = 0;
                for (unsigned i = 0; i < kSamples; ++i, ++next) {
                    sum = sum + weights[next] * Vec(colors.data()[next].toVector3D());
                    total += weights[next];
                }
                return QVector4D((1 / total * sum).rounded(), 1);
            });
        }
        return pictures;
    }

    const int faces;

private:
    int _width;
    int _height;
    Texture _texture;
    std::unique_ptr<ShaderProgram> _program;
};

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
         {std::tuple(1, 4096, 1), {4096, 1, 1}, {2, 3, 2}, {1024, 512, 10}}) {
        EXPECT_EQ(levels, MaxLODLevel(width, height)) << width;
    }
    EXPECT_TRUE(std::isnan(RoughnessForLOD(0, 1, SHADING_TRADITIONAL)));
}

TEST_F(PrefilteredEnvMapTest, BakesHoldTheIntegralOfEveryModelAndRoughness)
{
    driver()->glEnable(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    for (const GLenum target : {GL_TEXTURE_CUBE_MAP, GL_TEXTURE_2D}) {
        Environment source(target, 2 * kHeight, kLevels);
        for (const ShadingModel model : kModels) {
            std::unique_ptr<Texture> result;
            {
                const HostRaster host;
                result = source.baked(kHeight, kSamples, model);
            }
            ASSERT_NE(nullptr, result);
            int i = 0;
            for (const Pixels &expected : source.filtered(model)) {
                const Pixels actual =
                    Pixels::ofTexture(target, result->textureID(), i / source.faces, i % source.faces);
                const Pixels quotient = Pixels::of(actual.width(), actual.height(), [&](int x, int y) {
                    return actual.at(x, y) / expected.at(x, y);
                });
                const Pixels ones(expected.width(), expected.height(), {1, 1, 1, 1});
                ASSERT_TRUE(quotient.isNear(ones, 1e-3f))
                    << "target " << target << ", model " << model << ", face " << i;
                ++i;
            }
        }
    }
}

TEST_F(PrefilteredEnvMapTest, FacesAndTilesAreJobsOfTheirOwn)
{
    Environment image(GL_TEXTURE_2D, 32, 1);
    Environment faces(GL_TEXTURE_CUBE_MAP, 16, 1);
    const auto whole = image.baked(12, 16, SHADING_PHYSICALLY_BASED);
    Taps<&glDrawArrays, &glFlush, &glScissor> jobs;
    const auto expectJobs = [&](size_t count, size_t scissors) {
        EXPECT_EQ(count, jobs.of<&glDrawArrays>().count());
        EXPECT_EQ(count, jobs.of<&glFlush>().count());
        EXPECT_EQ(scissors, jobs.of<&glScissor>().count());
        jobs.clear();
    };
    {
        const Tap<&glFramebufferTexture2D> attachments;
        faces.baked(4, 1, SHADING_PHYSICALLY_BASED);
        EXPECT_EQ(2u * 3 * 6, attachments.count()) << "each face is detached after its draw";
        expectJobs(3 * 6, 0);
    }
    SetPrefilteredTilseSizeMax(0); // must not loop for ever
    image.baked(2, 1, SHADING_PHYSICALLY_BASED);
    expectJobs(8 + 2, 8 + 2); // 4 x 2, 2 x 1
    SetPrefilteredTilseSizeMax(10);
    const auto tiled = image.baked(12, 16, SHADING_PHYSICALLY_BASED);
    SetPrefilteredTilseSizeMax(1024);
    expectJobs(6 + 2 + 1 + 1, 6 + 2 + 1 + 1); // 24 x 12, 12 x 6, 6 x 3, 3 x 1
    for (int lod = 0; lod < 4; ++lod) {
        const Pixels untiled = Pixels::ofTexture(GL_TEXTURE_2D, whole->textureID(), lod);
        EXPECT_TRUE(Pixels::ofTexture(GL_TEXTURE_2D, tiled->textureID(), lod).isNear(untiled, 0.0f)) << lod;
    }
}

namespace {

/// What a sample adds to the two sums of the table; see evaluateBRDF().
std::array<double, 2> evaluate(ShadingModel model, const Vec &L, const Vec &V, const Vec &H, double roughness)
{
    const double NdotV = V.z;
    const double NdotL = L.z;
    const double VdotH = std::clamp(dot(V, H), 0.0, 1.0);
    const double fd90 = 0.5 + 2.0 * dot(L, H) * dot(L, H) * roughness;
    const double diffuse =
        (1.0 + (fd90 - 1.0) * std::pow(1.0 - NdotV, 5)) * (1.0 + (fd90 - 1.0) * std::pow(1.0 - NdotL, 5));
    double g = 1.0;
    if (model == SHADING_ENERY_CONSERVING) {
        g = NdotL / std::max(NdotL, NdotV);
    } else if (model == SHADING_PHYSICALLY_BASED) {
        const double k = roughness * roughness / 2.0;
        g = 1.0 / (NdotV * (1 - k) + k) * NdotL / (NdotL * (1 - k) + k) * VdotH / H.z;
    } else if (model == SHADING_OREN_NAYAR_DIFFUSE) {
        const double s2 = roughness * roughness;
        const double cosAlpha = std::max(NdotV, NdotL);
        const double cosBeta = NdotL; // the two assignments are not a swap
        const double planes = V.x * L.x / (std::fabs(V.x) * std::hypot(L.x, L.y));
        const double sines = std::sqrt((1.0 - cosAlpha * cosAlpha) * (1.0 - cosBeta * cosBeta));
        g = 1.0 - 0.5 * s2 / (s2 + 0.33) + 0.45 * s2 / (s2 + 0.09) * std::max(0.0, planes) * sines / cosBeta;
    }
    return {g, g * (isDiffuse(model) ? diffuse : std::pow(1.0 - VdotH, 5))};
}

} // namespace

TEST_F(PrefilteredEnvMapTest, TheTableHoldsTheIntegratedBRDFOfEveryModel)
{
    constexpr int kSize = 33;
    constexpr unsigned kTableSamples = 1024;
    for (const ShadingModel model : kModels) {
        auto host = std::make_unique<HostRaster>();
        const std::unique_ptr<Texture> table(CreatePreintegratedBRDFTable(kSize, kSize, 7, model, RGBA32F));
        host.reset();
        ASSERT_NE(nullptr, table);
        const Pixels actual = Pixels::ofTexture(GL_TEXTURE_2D, table->textureID());
        for (int texel = 0; texel < kSize * kSize; texel += 10) {
            const double NdotV = center(texel % kSize, kSize);
            const double roughness = center(texel / kSize, kSize);
            const Vec V{std::sqrt(1.0 - NdotV * NdotV), 0.0, NdotV};
            double sums[2] = {0.0, 0.0};
            for (unsigned i = 0; i < kTableSamples; ++i) {
                const Vec s = sampleOf(model, i, kTableSamples, roughness);
                const Vec L = isDiffuse(model) ? s : 2.0 * dot(V, s) * s - V;
                if (L.z > 0.0) {
                    const Vec H = isDiffuse(model) ? normalized(L + V) : s;
                    const auto pair = evaluate(model, L, V, H, roughness);
                    sums[0] += pair[0] / kTableSamples;
                    sums[1] += pair[1] / kTableSamples;
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

TEST_F(PrefilteredEnvMapTest, BakesAreReadyToSample)
{
    constexpr ShadingModel kModel = SHADING_TRADITIONAL;
    EXPECT_EQ(nullptr, CreatePrefilteredCubeEnvMap(nullptr, 8, 1, kModel, RGBA16F));
    EXPECT_EQ(nullptr, CreatePrefilteredLatLongEnvMap(nullptr, 8, 8, 1, kModel, RGBA16F));
    const struct
    {
        std::unique_ptr<Texture> texture;
        std::vector<GLint> sampling;
    } rows[] = {{Environment(GL_TEXTURE_CUBE_MAP, 16, 1).baked(8, 1, kModel),
                 {GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR, GL_CLAMP_TO_EDGE, GL_CLAMP_TO_EDGE, 0, 3, 0, 3}},
                {Environment(GL_TEXTURE_2D, 16, 1).baked(8, 1, kModel),
                 {GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR, GL_REPEAT, GL_CLAMP_TO_EDGE, 0, 3, 0, 3}},
                {std::unique_ptr<Texture>(CreatePreintegratedBRDFTable(4, 4, 4, kModel, RGBA16F)),
                 {GL_LINEAR, GL_LINEAR, GL_CLAMP_TO_EDGE, GL_CLAMP_TO_EDGE, 0, 0, -1000, 1000}}};
    for (const auto &[texture, expected] : rows) {
        EXPECT_TRUE(texture->isReadOnly() && !texture->isBound());
        std::vector<GLint> sampling = samplingOf(*texture);
        sampling.push_back(textureParameter(*texture, GL_TEXTURE_MIN_LOD));
        sampling.push_back(textureParameter(*texture, GL_TEXTURE_MAX_LOD));
        EXPECT_EQ(expected, sampling);
    }
}
