// FXAA and SMAA as a host uses them, on pictures with edges of every slope, compared with the same pictures supersampled.

#include "SMAATables.h"
#include "support/GLFixture.h"
#include "support/Pixels.h"

#include <ZelGL/DrawBuffers.h>
#include <ZelGL/FramebufferObject.h>
#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelGL/OpenGLDeviceContext.h>
#include <ZelGL/ShaderProgram.h>
#include <ZelGL/Texture.h>
#include <ZelGL/VertexArrayObject.h>

#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <cmath>
#include <cstdio>
#include <memory>
#include <vector>

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
bool isAboveRising(double x, double y)
{
    return y - 48.3 > 0.85 * (x - 47.9);
}

bool isAboveFalling(double x, double y)
{
    return y - 48.3 > -0.85 * (x - 47.9);
}

/// Each pixel is the mean of \a samples squared points, moved by \a jitter.
Pixels picture(Shape isInside, int samples, QPointF jitter = QPointF())
{
    const QVector4D dark(0.1f, 0.2f, 0.15f, 1.0f);
    const QVector4D light(0.9f, 0.8f, 0.95f, 1.0f);
    return Pixels::of(kSize, kSize, [&](int x, int y) {
        int inside = 0;
        for (int i = 0; i < samples * samples; ++i) {
            inside += isInside(x + jitter.x() + (i % samples + 0.5) / samples,
                               y + jitter.y() + (i / samples + 0.5) / samples);
        }
        return dark + (light - dark) * (float(inside) / float(samples * samples));
    });
}

double squareDifference(const Pixels &a, const Pixels &b)
{
    double sum = 0.0;
    for (int i = 0; i < kSize * kSize; ++i) {
        sum += double((a.at(i % kSize, i / kSize) - b.at(i % kSize, i / kSize)).lengthSquared());
    }
    return sum;
}

bool isFlatAt(const Pixels &pixels, int x, int y)
{
    for (int i = 0; i < 9; ++i) {
        if (pixels.at(x - 1 + i % 3, y - 1 + i / 3) != pixels.at(x, y)) {
            return false;
        }
    }
    return true;
}

class AntiAliasingTest : public GLTest
{
protected:
    using TexturePointer = std::unique_ptr<Texture>;
    using Inputs = std::vector<std::pair<const char *, Texture *>>;

    AntiAliasingTest()
    {
        OpenGLDeviceContext::current()->fullscreenQuad();
        driver()->glViewport(0, 0, kSize, kSize);
        driver()->glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
        driver()->glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        show(isInStar);
    }

    ~AntiAliasingTest() override
    {
        driver()->glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
        OpenGLDeviceContext::resetContext();
    }

    void show(Shape shape, QPointF jitter = QPointF())
    {
        const Pixels pixels = picture(shape, 1, jitter);
        _source = texture(GL_RGBA8, kSize, kSize, GL_LINEAR, GL_RGBA, GL_FLOAT, pixels.data());
        _stored = Pixels::ofTexture(GL_TEXTURE_2D, _source->textureID());
        _reference = picture(shape, 16);
    }

    static TexturePointer texture(unsigned internalFormat, int width, int height, GLint filter = GL_LINEAR,
                                  GLenum format = 0, GLenum type = 0, const void *pixels = nullptr)
    {
        auto result = std::make_unique<Texture>(nullptr);
        result->create2D(GL_TEXTURE_2D, internalFormat, width, height);
        result->bind();
        if (pixels != nullptr) {
            driver()->glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, width, height, format, type, pixels);
        }
        for (const auto &[name, value] : {std::pair<GLenum, GLint>(GL_TEXTURE_MIN_FILTER, filter),
                                          {GL_TEXTURE_MAG_FILTER, filter},
                                          {GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE},
                                          {GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE}}) {
            driver()->glTexParameteri(GL_TEXTURE_2D, name, value);
        }
        result->unbind();
        return result;
    }

    /// Draws a full-screen quad into a new texture, cleared to 0. The stages have va_Vertex and vo_TexCoord.
    static TexturePointer draw(unsigned internalFormat, const Inputs &inputs, const QString &vertexHead,
                               const QString &vertexMain, const QString &fragmentHead,
                               const QString &fragmentMain, const QString &fragmentFile = QString(),
                               GLSLMacroProcessor *processor = nullptr)
    {
        ShaderProgram program(nullptr);
        program.setMacroProcessor(processor);
        program.addShader(GL_VERTEX_SHADER,
                          vertexHead
                              + "in vec4 va_Vertex; in vec2 va_TexCoord; out vec2 vo_TexCoord;\n"
                                "void main() { gl_Position = va_Vertex; vo_TexCoord = va_TexCoord;\n"
                              + vertexMain + "}\n",
                          QString());
        program.addShader(GL_FRAGMENT_SHADER,
                          fragmentHead
                              + "in vec2 vo_TexCoord; out vec4 out_FragColor;\nvoid main() { out_FragColor = "
                              + fragmentMain + "; }\n",
                          QString());
        if (!fragmentFile.isEmpty()) {
            program.addShaderFromFile(GL_FRAGMENT_SHADER, fragmentFile);
        }
        EXPECT_TRUE(program.link()) << program.log().toStdString();
        program.setMacroProcessor(nullptr);

        TexturePointer target = texture(internalFormat, kSize, kSize);
        FramebufferObject framebuffer(nullptr);
        framebuffer.bind();
        framebuffer.attach(target.get(), GL_COLOR_ATTACHMENT0, 0);
        driver()->glClear(GL_COLOR_BUFFER_BIT);
        program.bind();
        for (const auto &[name, input] : inputs) {
            input->bind();
            program.setUniform(program.getUniformLocation(name), int(input->unit()));
        }
        const auto quad = OpenGLDeviceContext::current()->fullscreenQuad();
        quad->bind();
        quad->VAO()->enableShaderProgramArrays(&program);
        quad->draw(&program);
        quad->unbind();
        for (const auto &input : inputs) {
            input.second->unbind();
        }
        program.unbind();
        framebuffer.detach(GL_COLOR_ATTACHMENT0);
        framebuffer.unbind();
        return target;
    }

    Pixels fxaa(int preset);
    Pixels smaa(const QString &preset, const QString &detection, const QString &indices = "vec4(0.0)");

    /// The factor by which the mean square of the difference to the supersampled picture falls. Expects that nothing else
    /// changes.
    double improvement(const Pixels &filtered, const QString &name)
    {
        for (int i = 0; i < (kSize - 2) * (kSize - 2); ++i) {
            const int x = 1 + i % (kSize - 2);
            const int y = 1 + i / (kSize - 2);
            if (isFlatAt(_stored, x, y) && filtered.at(x, y) != _stored.at(x, y)) {
                ADD_FAILURE() << "a flat pixel changed: " << x << ", " << y;
                return 0.0;
            }
        }
        const double factor = squareDifference(_stored, _reference) / squareDifference(filtered, _reference);
        std::printf("%s: %.2f\n", qPrintable(name), factor); // for the tables of docs/anti-aliasing.md
        return factor;
    }

    TexturePointer _source;
    TexturePointer _edges;        ///< result of the first pass of the last smaa()
    Pixels _stored{kSize, kSize}; ///< the source, rounded to 8 bits
    Pixels _reference{kSize, kSize};
};

Pixels AntiAliasingTest::fxaa(int preset)
{
    GLSLMacroProcessor processor;
    processor.addDefine("FXAA_QUALITY__PRESET", QString::number(preset));
    const auto result = draw(GL_RGBA8, {{"u_Picture", _source.get()}}, "#version 150\n", "",
                             "#version 150\n#include \"FXAA.glslh\"\nuniform sampler2D u_Picture;\n"
                             "const int kSteps = 0; float bend(float a, float b, float c) { return a; }\n",
                             "vec4(FxaaPixelShader(vo_TexCoord, vec4(0.0), u_Picture, u_Picture, u_Picture,\n"
                             "    1.0 / vec2(textureSize(u_Picture, 0)), vec4(0.0), vec4(0.0), vec4(0.0),\n"
                             "    0.5, 0.166, 0.0833, 0.0, 0.0, 0.0, vec4(0.0)).rgb, 1.0)",
                             "FXAA.glslc", &processor);
    return Pixels::ofTexture(GL_TEXTURE_2D, result->textureID());
}

Pixels AntiAliasingTest::smaa(const QString &preset, const QString &detection, const QString &indices)
{
    const auto area = texture(GL_RG8, SMAATables::kAreaWidth, SMAATables::kAreaHeight, GL_LINEAR, GL_RG,
                              GL_UNSIGNED_BYTE, SMAATables::area().data());
    const auto search = texture(GL_R8, SMAATables::kSearchWidth, SMAATables::kSearchHeight, GL_NEAREST,
                                GL_RED, GL_UNSIGNED_BYTE, SMAATables::search().data());
    const QString head = QStringLiteral("#version 150\n"
                                        "#define SMAA_RT_METRICS vec4(1.0 / 96.0, 1.0 / 96.0, 96.0, 96.0)\n"
                                        "#define SMAA_GLSL_3\n"
                                        "#define SMAA_PRESET_%1\n")
                             .arg(preset);
    const QString vertexHead = head + "#define SMAA_INCLUDE_PS 0\n#include \"SMAA.glslh\"\n";
    const QString fragmentHead = head + "#define SMAA_INCLUDE_VS 0\n#include \"SMAA.glslh\"\n";
    _edges = draw(GL_RG8, {{"u_Picture", _source.get()}}, vertexHead + "out vec4 vo_Offset[3];\n",
                  "SMAAEdgeDetectionVS(va_TexCoord, vo_Offset);\n",
                  fragmentHead + "in vec4 vo_Offset[3]; uniform sampler2D u_Picture;\n",
                  "vec4(SMAA" + detection + "EdgeDetectionPS(vo_TexCoord, vo_Offset, u_Picture), 0.0, 0.0)");
    const auto weights =
        draw(GL_RGBA8, {{"u_Edges", _edges.get()}, {"u_Area", area.get()}, {"u_Search", search.get()}},
             vertexHead + "out vec4 vo_Offset[3]; out vec2 vo_Pixel;\n",
             "SMAABlendingWeightCalculationVS(va_TexCoord, vo_Pixel, vo_Offset);\n",
             fragmentHead
                 + "in vec4 vo_Offset[3]; in vec2 vo_Pixel; uniform sampler2D u_Edges, u_Area, u_Search;\n",
             "SMAABlendingWeightCalculationPS(vo_TexCoord, vo_Pixel, vo_Offset, u_Edges, u_Area, u_Search, "
                 + indices + ")");
    const auto result =
        draw(GL_RGBA8, {{"u_Picture", _source.get()}, {"u_Weights", weights.get()}},
             vertexHead + "out vec4 vo_Offset;\n", "SMAANeighborhoodBlendingVS(va_TexCoord, vo_Offset);\n",
             fragmentHead + "in vec4 vo_Offset; uniform sampler2D u_Picture, u_Weights;\n",
             "SMAANeighborhoodBlendingPS(vo_TexCoord, vo_Offset, u_Picture, u_Weights)");
    return Pixels::ofTexture(GL_TEXTURE_2D, result->textureID());
}

} // namespace

TEST_F(AntiAliasingTest, FxaaComesNearerToTheSupersampledPictureAndLeavesFlatAreas)
{
    for (const int preset : {10, 11, 12, 13, 14, 15, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 39}) {
        EXPECT_GT(improvement(fxaa(preset), QStringLiteral("FXAA %1").arg(preset)), 2.2) << preset;
    }
}

TEST_F(AntiAliasingTest, SmaaComesNearerToTheSupersampledPictureAndLeavesFlatAreas)
{
    for (const QString detection : {"Luma", "Color", "Depth"}) {
        for (const QString preset : {"LOW", "MEDIUM", "HIGH", "ULTRA"}) {
            const QString name = "SMAA " + detection + ' ' + preset;
            EXPECT_GT(improvement(smaa(preset, detection), name), 2.5) << name.toStdString();
        }
    }
}

TEST_F(AntiAliasingTest, SmaaFollowsDiagonalsOfBothKindsInOneFrameAndInTwo)
{
    for (const auto &[shape, jitter, indices, oppositeIndices] :
         {std::tuple(&isAboveRising, QPointF(0.25, -0.25), "vec4(1, 2, 0, 1)", "vec4(2, 1, 0, 2)"),
          {&isAboveFalling, QPointF(0.25, 0.25), "vec4(1, 1, 1, 0)", "vec4(2, 2, 2, 0)"}}) {
        show(shape, jitter);
        const Pixels first = smaa("HIGH", "Luma", indices);
        show(shape, -jitter);
        const Pixels second = smaa("HIGH", "Luma", oppositeIndices);
        const auto mean = [&](int x, int y) { return 0.5f * (first.at(x, y) + second.at(x, y)); };
        show(shape);
        const double withThem = improvement(smaa("HIGH", "Luma"), "edge near a diagonal, HIGH");
        EXPECT_GT(withThem, 3.0 * improvement(smaa("MEDIUM", "Luma"), "edge near a diagonal, MEDIUM"));
        EXPECT_GT(improvement(Pixels::of(kSize, kSize, mean), "the same from two frames"), 1.2 * withThem);
    }
}

TEST_F(AntiAliasingTest, ColourIsComparedWithThePixelItself)
{
    // An edge of 0.2 is dropped next to the difference of 0.55 and 0, and stays next to that of 0.8 and 0.5.
    const float steps[] = {0.55f, 0.2f, 0.0f, 0.0f, 0.8f, 0.3f, 0.5f, 0.5f};
    const Pixels colors =
        Pixels::of(kSize, kSize, [&](int x, int y) { return QVector4D(steps[x % 8], steps[y % 8], 0, 1); });
    _source = texture(GL_RGBA32F, kSize, kSize, GL_NEAREST, GL_RGBA, GL_FLOAT, colors.data());
    smaa("ULTRA", "Color");
    const Pixels edges = Pixels::ofTexture(GL_TEXTURE_2D, _edges->textureID());
    for (const int i : {8 + 2, 8 + 6}) {
        EXPECT_EQ(i == 8 + 6 ? 1.0f : 0.0f, edges.at(i, 15).x());
        EXPECT_EQ(i == 8 + 6 ? 1.0f : 0.0f, edges.at(15, i).y());
    }
}

TEST_F(AntiAliasingTest, ReprojectionFollowsASurfaceAndLeavesOutWhatMovedOtherwise)
{
    const float moves[] = {8.0f / kSize, 8.0f / kSize + 0.0005f,
                           0.0f}; // of the surface in the previous frame, by row
    const auto frame = [&](int x, int y) { return QVector4D(float(x), 0, 0, std::sqrt(5 * moves[y % 3])); };
    const auto pixels = [](const auto &color) {
        const Pixels values = Pixels::of(kSize, kSize, color);
        return texture(GL_RGBA32F, kSize, kSize, GL_NEAREST, GL_RGBA, GL_FLOAT, values.data());
    };
    const auto now = pixels([&](int x, int) { return frame(x, 0); });
    const auto before = pixels(frame);
    const auto velocity = pixels([&](int x, int) { return QVector4D(0, 0, 0, x > 0 ? moves[0] : 0.0f); });
    const auto result = draw(
        GL_RGBA32F, {{"u_Now", now.get()}, {"u_Before", before.get()}, {"u_Velocity", velocity.get()}},
        "#version 150\n", "",
        "#version 150\n#define SMAA_RT_METRICS vec4(1.0)\n#define SMAA_GLSL_3\n#define SMAA_REPROJECTION 1\n"
        "#define SMAA_DECODE_VELOCITY(texel) texel.ag\n#include \"SMAA.glslh\"\n"
        "uniform sampler2D u_Now, u_Before, u_Velocity;\n", // the velocities serve as weights too: red and blue are 0, so nothing is blended
        "vec4(SMAAResolvePS(vo_TexCoord, u_Now, u_Before, u_Velocity).rgb,\n"
        "    SMAANeighborhoodBlendingPS(vo_TexCoord, vec4(0.0), u_Now, u_Velocity, u_Velocity).a)");
    const Pixels resolved = Pixels::ofTexture(GL_TEXTURE_2D, result->textureID());
    for (const auto &[y, x] : {std::pair(30, 46.0f), {31, 48.683f}, {32, 50.0f}}) {
        EXPECT_TRUE(resolved.isNear(50, y, {x, 0, 0, frame(0, 0).w()}, 1e-3f));
    }
}
