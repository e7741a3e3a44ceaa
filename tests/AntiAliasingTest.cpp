// FXAA and SMAA as a host uses them: pictures with edges of every slope compared with the same pictures supersampled, and golden
// values of the filtered pictures of a noise of edges.

#include "SMAATables.h"
#include "support/DrawnPixels.h"
#include "support/GLFixture.h"
#include "support/TestProgram.h"

#include <ZelGL/ZelGL.h>

#include <cmath>
#include <cstdio>
#include <map>

using namespace Orvane::Zel;

namespace {

constexpr int kSize = 96;

using Shape = bool (*)(double x, double y);

/// Wedges with sides of all slopes, and a disk.
bool isInStar(double x, double y)
{
    const double r = std::hypot(x - 47.3, y - 48.6);
    return r < 14.2 || (r < 40.0 && std::fmod(std::atan2(y - 48.6, x - 47.3) + 7.0, 0.7) < 0.3);
}

/// One straight edge, near a diagonal.
template <int sign> bool isBesideDiagonal(double x, double y)
{
    return y - 48.3 > sign * 0.85 * (x - 47.9);
}

/// Each pixel is the mean of \a samples squared points, moved by \a jitter.
Pixels picture(Shape isInside, int samples, QPointF jitter = QPointF())
{
    const QVector4D dark = QVector4D(26, 51, 38, 255) / 255.0f;
    const QVector4D light = QVector4D(230, 204, 242, 255) / 255.0f;
    return Pixels::of(kSize, kSize, [&](int x, int y) {
        int inside = 0;
        for (int i = 0; i < samples * samples; ++i) {
            inside += isInside(x + jitter.x() + (i % samples + 0.5) / samples,
                               y + jitter.y() + (i / samples + 0.5) / samples);
        }
        return dark + (light - dark) * (float(inside) / float(samples * samples));
    });
}

/// Stripes of many colours and contrasts, whose edges have a slope of their own in each tile, between rows of single pixels.
Pixels noise()
{
    return Pixels::of(kSize, kSize, [](int x, int y) {
        const int tile = x / 32 + 3 * (y / 24);
        const double slopes[] = {0.02, 0.04, 0.06, 0.09, 0.13, 0.2, 0.3, 0.5, 0.8, 1.0, 1.3, 2.0};
        const int along = tile % 2 == 0 ? x : y;
        const int across = tile % 2 == 0 ? y : x;
        unsigned hash = unsigned(tile * 977 + int((across + slopes[tile] * along) / 6.0)) * 2654435761u;
        hash += (x * 7 + y * 3) % 61 == 0 ? 0x9E3779B9u : 0u;
        const auto channel = [&](int shift) { return float(hash >> shift & 7u) / 12.0f; };
        return QVector4D(channel(29), channel(21), channel(13), 1.0f);
    });
}

/// A sum of all channels, each with a weight of its own, that a change of few pixels changes.
double fingerprintOf(const Pixels &pixels)
{
    double sum = 0.0;
    unsigned weight = 1;
    for (int i = 0; i < 3 * kSize * kSize; ++i) {
        weight = weight * 1664525u + 1013904223u;
        sum +=
            (double(weight >> 8) / (1 << 23) - 1.0) * double(pixels.at(i / 3 % kSize, i / 3 / kSize)[i % 3]);
    }
    return sum;
}

class AntiAliasingTest : public GLTest
{
protected:
    using TexturePointer = std::unique_ptr<Texture>;

    static TexturePointer textureOf(const Pixels &pixels, GLint filter = GL_LINEAR,
                                    unsigned format = GL_RGBA8)
    {
        auto result = std::make_unique<Texture>(nullptr);
        result->create2D(GL_TEXTURE_2D, format, pixels.width(), pixels.height());
        const AutoBinder bound(result.get());
        glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, pixels.width(), pixels.height(), GL_RGBA, GL_FLOAT,
                        pixels.data());
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, filter);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, filter);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
        return result;
    }

    static TexturePointer textureOf(const std::vector<std::uint8_t> &table, int width, int channels,
                                    GLint filter)
    {
        const auto texel = [&](int x, int y) {
            const std::uint8_t *bytes = &table[size_t((y * width + x) * channels)];
            return QVector4D(bytes[0], bytes[channels - 1], 0.0f, 0.0f) / 255.0f;
        };
        return textureOf(Pixels::of(width, int(table.size()) / width / channels, texel), filter);
    }

    using Stage =
        std::pair<QString, QString>; ///< declarations, and main(), which is an expression in fragment stages
    using Inputs = std::vector<std::pair<const char *, Texture *>>;

    /// Draws a full-screen quad. The stages have va_Vertex and vo_TexCoord.
    static Pixels draw(const Inputs &inputs, const Stage &fragment,
                       const Stage &vertex = {"#version 150\n", ""}, GLSLMacroProcessor *processor = nullptr,
                       const QStringList &files = {})
    {
        const auto program = makeProgram(
            vertex.first
                + "in vec4 va_Vertex; in vec2 va_TexCoord; out vec2 vo_TexCoord;\n"
                  "void main() { gl_Position = va_Vertex; vo_TexCoord = va_TexCoord;\n"
                + vertex.second + "}\n",
            fragment.first + "in vec2 vo_TexCoord; out vec4 out_FragColor;\nvoid main() { out_FragColor = "
                + fragment.second + "; }\n",
            processor, files);
        const AutoBinder bound(program.get());
        for (const auto &[name, input] : inputs) {
            input->bind();
            program->setUniform(name, int(input->unit()));
        }
        const Pixels pixels = drawnPixels(*program, kSize, kSize);
        for (const auto &input : inputs) {
            input.second->unbind();
        }
        return pixels;
    }

    static Pixels fxaa(const Pixels &picture, int preset)
    {
        GLSLMacroProcessor processor;
        processor.addDefine("FXAA_QUALITY__PRESET", QString::number(preset));
        const auto source = textureOf(picture);
        return draw({{"u_Picture", source.get()}},
                    {"#version 150\n#include \"FXAA.glslh\"\nuniform sampler2D u_Picture;\n"
                     "const int kSteps = 0; float bend(float a, float b, float c) { return a; }\n",
                     "vec4(FxaaPixelShader(vo_TexCoord, vec4(0.0), u_Picture, u_Picture, u_Picture,\n"
                     "    1.0 / vec2(textureSize(u_Picture, 0)), vec4(0.0), vec4(0.0), vec4(0.0),\n"
                     "    0.5, 0.166, 0.0833, 0.0, 0.0, 0.0, vec4(0.0)).rgb, 1.0)"},
                    {"#version 150\n", ""}, &processor, {"FXAA.glslc"});
    }

    static Pixels smaa(const Pixels &picture, const QString &preset, const QString &detection,
                       const QString &indices = "vec4(0.0)")
    {
        const auto area = textureOf(SMAATables::area(), SMAATables::kAreaWidth, 2, GL_LINEAR);
        const auto search = textureOf(SMAATables::search(), SMAATables::kSearchWidth, 1, GL_NEAREST);
        const QString head =
            QStringLiteral("#version 150\n"
                           "#define SMAA_RT_METRICS vec4(1.0 / 96.0, 1.0 / 96.0, 96.0, 96.0)\n"
                           "#define SMAA_GLSL_3\n"
                           "#define SMAA_PRESET_%1\n"
                           "#define SMAA_INCLUDE_%2 0\n"
                           "#include \"SMAA.glslh\"\n");
        const QString vertex = head.arg(preset, "PS");
        const QString fragment = head.arg(preset, "VS");
        const auto source = textureOf(picture);
        const auto edges = textureOf(
            draw({{"u_Picture", source.get()}},
                 {fragment + "in vec4 vo_Offset[3]; uniform sampler2D u_Picture;\n",
                  "vec4(SMAA" + detection + "EdgeDetectionPS(vo_TexCoord, vo_Offset, u_Picture), 0.0, 0.0)"},
                 {vertex + "out vec4 vo_Offset[3];\n", "SMAAEdgeDetectionVS(va_TexCoord, vo_Offset);\n"}));
        const auto weights = textureOf(draw(
            {{"u_Edges", edges.get()}, {"u_Area", area.get()}, {"u_Search", search.get()}},
            {fragment
                 + "in vec4 vo_Offset[3]; in vec2 vo_Pixel; uniform sampler2D u_Edges, u_Area, u_Search;\n",
             "SMAABlendingWeightCalculationPS(vo_TexCoord, vo_Pixel, vo_Offset, u_Edges, u_Area, u_Search, "
                 + indices + ")"},
            {vertex + "out vec4 vo_Offset[3]; out vec2 vo_Pixel;\n",
             "SMAABlendingWeightCalculationVS(va_TexCoord, vo_Pixel, vo_Offset);\n"}));
        return draw(
            {{"u_Picture", source.get()}, {"u_Weights", weights.get()}},
            {fragment + "in vec4 vo_Offset; uniform sampler2D u_Picture, u_Weights;\n",
             "SMAANeighborhoodBlendingPS(vo_TexCoord, vo_Offset, u_Picture, u_Weights)"},
            {vertex + "out vec4 vo_Offset;\n", "SMAANeighborhoodBlendingVS(va_TexCoord, vo_Offset);\n"});
    }

    /// The factor by which the mean square of the difference to the supersampled picture falls. Expects that pixels whose
    /// neighbours are the same do not change.
    static double improvement(Shape shape, const Pixels &filtered, const QString &name)
    {
        static std::map<Shape, Pixels> references; // each takes as long as to filter a picture
        if (references.count(shape) == 0) {
            references.emplace(shape, picture(shape, 16));
        }
        const Pixels before = picture(shape, 1);
        const Pixels &reference = references.at(shape);
        double errorBefore = 0.0;
        double error = 0.0;
        for (int i = 0; i < kSize * kSize; ++i) {
            const int x = i % kSize;
            const int y = i / kSize;
            errorBefore += double((before.at(x, y) - reference.at(x, y)).lengthSquared());
            error += double((filtered.at(x, y) - reference.at(x, y)).lengthSquared());
            bool isFlat = x % (kSize - 1) != 0 && y % (kSize - 1) != 0;
            for (int j = 0; j < 9 && isFlat; ++j) {
                isFlat = before.at(x - 1 + j % 3, y - 1 + j / 3) == before.at(x, y);
            }
            if (isFlat && (filtered.at(x, y) - before.at(x, y)).lengthSquared() > 1e-6f) {
                ADD_FAILURE() << "a flat pixel changed: " << x << ", " << y;
                return 0.0;
            }
        }
        std::printf("%s: %.2f\n", qPrintable(name),
                    errorBefore / error); // for the tables of docs/anti-aliasing.md
        return errorBefore / error;
    }
};

TEST_F(AntiAliasingTest, FxaaComesNearerToTheSupersampledPictureAndLeavesFlatAreas)
{
    const Pixels star = picture(isInStar, 1);
    const std::map<int, double> fingerprints{
        {10, -44.909}, {11, -44.936}, {12, -44.704}, {13, -43.460}, {14, -44.745}, {15, -44.806},
        {20, -44.957}, {21, -44.900}, {22, -43.827}, {23, -44.006}, {24, -44.285}, {25, -44.613},
        {26, -44.729}, {27, -44.998}, {28, -45.166}, {29, -45.237}, {39, -45.107}};
    for (const auto &[preset, fingerprint] : fingerprints) {
        const QString name = QStringLiteral("FXAA %1").arg(preset);
        EXPECT_GT(improvement(isInStar, fxaa(star, preset), name), 2.2);
        EXPECT_NEAR(fingerprint, fingerprintOf(fxaa(noise(), preset)), 0.02) << name.toStdString();
    }
}

TEST_F(AntiAliasingTest, SmaaComesNearerToTheSupersampledPictureAndLeavesFlatAreas)
{
    const Pixels star = picture(isInStar, 1);
    const std::map<QString, double> fingerprints{
        {"Luma LOW", -45.025},  {"Luma MEDIUM", -45.971},  {"Luma HIGH", -44.295},  {"Luma ULTRA", -43.792},
        {"Color LOW", -43.869}, {"Color MEDIUM", -44.413}, {"Color HIGH", -44.114}, {"Color ULTRA", -43.907},
        {"Depth LOW", -44.641}, {"Depth MEDIUM", -44.902}, {"Depth HIGH", -43.639}, {"Depth ULTRA", -43.811}};
    for (const auto &[name, fingerprint] : fingerprints) {
        const QString detection = name.section(' ', 0, 0);
        const QString preset = name.section(' ', 1);
        EXPECT_GT(improvement(isInStar, smaa(star, preset, detection), "SMAA " + name), 2.5);
        EXPECT_NEAR(fingerprint, fingerprintOf(smaa(noise(), preset, detection)), 0.02) << name.toStdString();
    }
}

TEST_F(AntiAliasingTest, SmaaFollowsDiagonalsOfBothKindsInOneFrameAndInTwo)
{
    for (const auto &[shape, jitter, indices, oppositeIndices] :
         {std::tuple(&isBesideDiagonal<1>, QPointF(0.25, -0.25), "vec4(1, 2, 0, 1)", "vec4(2, 1, 0, 2)"),
          {&isBesideDiagonal<-1>, QPointF(0.25, 0.25), "vec4(1, 1, 1, 0)", "vec4(2, 2, 2, 0)"}}) {
        const Pixels first = smaa(picture(shape, 1, jitter), "HIGH", "Luma", indices);
        const Pixels second = smaa(picture(shape, 1, -jitter), "HIGH", "Luma", oppositeIndices);
        const Pixels mean =
            Pixels::of(kSize, kSize, [&](int x, int y) { return 0.5f * (first.at(x, y) + second.at(x, y)); });
        const Pixels one = picture(shape, 1);
        const double withThem = improvement(shape, smaa(one, "HIGH", "Luma"), "edge near a diagonal, HIGH");
        EXPECT_GT(withThem,
                  3.0 * improvement(shape, smaa(one, "MEDIUM", "Luma"), "edge near a diagonal, MEDIUM"));
        EXPECT_GT(improvement(shape, mean, "the same from two frames"), 1.2 * withThem);
    }
}

TEST_F(AntiAliasingTest, ReprojectionFollowsASurfaceAndLeavesOutWhatMovedOtherwise)
{
    // Of the surface in the previous frame, by row.
    const float moves[] = {8.0f / kSize, 8.0f / kSize + 0.0005f, 0.0f};
    const auto frame = [&](int x, int y) { return QVector4D(float(x), 0, 0, std::sqrt(5 * moves[y % 3])); };
    const auto now =
        textureOf(Pixels::of(kSize, kSize, [&](int x, int) { return frame(x, 0); }), GL_NEAREST, GL_RGBA32F);
    const auto before = textureOf(Pixels::of(kSize, kSize, frame), GL_NEAREST, GL_RGBA32F);
    const auto velocity = textureOf(
        Pixels::of(kSize, kSize, [&](int x, int) { return QVector4D(0, 0, 0, x > 0 ? moves[0] : 0.0f); }),
        GL_NEAREST, GL_RGBA32F);
    // The velocities serve as weights too: red and blue are 0, so nothing is blended.
    const Pixels resolved = draw(
        {{"u_Now", now.get()}, {"u_Before", before.get()}, {"u_Velocity", velocity.get()}},
        {"#version 150\n#define SMAA_RT_METRICS vec4(1.0)\n#define SMAA_GLSL_3\n#define SMAA_REPROJECTION 1\n"
         "#define SMAA_DECODE_VELOCITY(texel) texel.ag\n#include \"SMAA.glslh\"\n"
         "uniform sampler2D u_Now, u_Before, u_Velocity;\n",
         "vec4(SMAAResolvePS(vo_TexCoord, u_Now, u_Before, u_Velocity).rgb,\n"
         "    SMAANeighborhoodBlendingPS(vo_TexCoord, vec4(0.0), u_Now, u_Velocity, u_Velocity).a)"});
    for (const auto &[y, x] : {std::pair(30, 46.0f), {31, 48.683f}, {32, 50.0f}}) {
        EXPECT_TRUE(resolved.isNear(50, y, {x, 0, 0, frame(0, 0).w()}, 1e-3f));
    }
}

TEST_F(AntiAliasingTest, TheTwoSamplesOfAPixelAreSeparated)
{
    Texture samples(nullptr);
    samples.create2DMultisample(GL_TEXTURE_2D_MULTISAMPLE, GL_RGBA8, kSize, kSize, 2);
    FramebufferObject framebuffer(nullptr);
    framebuffer.bind();
    framebuffer.attach(&samples, GL_COLOR_ATTACHMENT0, 0);
    glViewport(0, 0, kSize, kSize);
    const auto program =
        makeProgram(kAllOver, "#version 150\nuniform vec4 u_Color; out vec4 out_FragColor;\n"
                              "void main() { out_FragColor = u_Color * gl_FragCoord.x / 96.0; }\n");
    const auto quad = OpenGLDeviceContext::current()->fullscreenQuad();
    program->bind();
    quad->bind();
    quad->VAO()->enableShaderProgramArrays(program.get());
    glEnable(GL_SAMPLE_MASK);
    for (const int sample : {0, 1}) {
        glSampleMaski(0, 1u << sample);
        program->setUniform("u_Color", QVector4D(1 - sample, sample, 0, 1));
        quad->draw(program.get());
    }
    glSampleMaski(0, ~0u);
    glDisable(GL_SAMPLE_MASK);
    quad->unbind();
    program->unbind();
    framebuffer.detach(GL_COLOR_ATTACHMENT0);
    framebuffer.unbind();
    const Pixels both = draw(
        {{"u_Samples", &samples}},
        {"#version 150\n#define SMAA_RT_METRICS vec4(1.0)\n#define SMAA_GLSL_3\n#include \"SMAA.glslh\"\n"
         "uniform sampler2DMS u_Samples;\n"
         "vec4 both() { vec4 a; vec4 b; SMAASeparatePS(gl_FragCoord, vec2(0.0), a, b, u_Samples);\n"
         "    return vec4(a.rg, b.rg); }\n",
         "both()"});
    EXPECT_TRUE(
        both.isNear(Pixels::of(kSize, kSize,
                               [](int x, int) { return QVector4D(1, 0, 0, 1) * (float(x) + 0.5f) / 96.0f; }),
                    0.003f));
}

} // namespace
