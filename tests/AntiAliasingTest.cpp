// FXAA and SMAA as a host uses them: on a picture with edges of every slope, against the same picture supersampled.

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
#include <memory>
#include <vector>

using namespace Orvane::Zel;

namespace {

constexpr int kSize = 96;

/// A star of wedges, whose sides have all slopes, and a disk.
bool isInside(double x, double y)
{
    const double dx = x - 47.3;
    const double dy = y - 48.6;
    const double r = std::hypot(dx, dy);
    return r < 14.2 || (r < 40.0 && std::fmod(std::atan2(dy, dx) + 7.0, 0.7) < 0.3);
}

/// Each pixel is the mean of \a samples squared points.
Pixels picture(int samples)
{
    const QVector4D dark(0.1f, 0.2f, 0.15f, 1.0f);
    const QVector4D light(0.9f, 0.8f, 0.95f, 1.0f);
    Pixels pixels(kSize, kSize);
    for (int y = 0; y < kSize; ++y) {
        for (int x = 0; x < kSize; ++x) {
            int inside = 0;
            for (int i = 0; i < samples * samples; ++i) {
                inside += isInside(x + (i % samples + 0.5) / samples, y + (i / samples + 0.5) / samples);
            }
            const float part = float(inside) / float(samples * samples);
            pixels.at(x, y) = dark + (light - dark) * part;
        }
    }
    return pixels;
}

double meanSquareDifference(const Pixels &a, const Pixels &b)
{
    double sum = 0.0;
    for (int i = 0; i < kSize * kSize; ++i) {
        const QVector4D d = a.at(i % kSize, i / kSize) - b.at(i % kSize, i / kSize);
        sum += double(d.x() * d.x() + d.y() * d.y() + d.z() * d.z());
    }
    return sum / (kSize * kSize);
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
    using ProgramPointer = std::unique_ptr<ShaderProgram>;

    AntiAliasingTest()
        : _aliased(picture(1))
        , _reference(picture(16))
        , _source(texture(GL_RGBA8, kSize, kSize, GL_RGBA, imageBytes(_aliased).data()))
        , _stored(Pixels::ofTexture(GL_TEXTURE_2D, _source->textureID()))
    {
        OpenGLDeviceContext::current()->fullscreenQuad();
        driver()->glViewport(0, 0, kSize, kSize);
    }

    ~AntiAliasingTest() override { OpenGLDeviceContext::resetContext(); }

    static std::vector<quint8> imageBytes(const Pixels &pixels)
    {
        std::vector<quint8> bytes;
        for (int i = 0; i < kSize * kSize; ++i) {
            for (int c = 0; c < 4; ++c) {
                bytes.push_back(quint8(std::lround(255.0f * pixels.at(i % kSize, i / kSize)[c])));
            }
        }
        return bytes;
    }

    /// Linear filtering, clamped edges.
    static TexturePointer texture(unsigned internalFormat, int width, int height, GLenum format,
                                  const quint8 *bytes)
    {
        auto result = std::make_unique<Texture>(nullptr);
        result->create2D(GL_TEXTURE_2D, internalFormat, width, height);
        result->bind();
        GLint alignment = 0;
        driver()->glGetIntegerv(GL_UNPACK_ALIGNMENT, &alignment);
        driver()->glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        if (bytes != nullptr) {
            driver()->glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, width, height, format, GL_UNSIGNED_BYTE, bytes);
        }
        driver()->glPixelStorei(GL_UNPACK_ALIGNMENT, alignment);
        for (const GLenum name : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER}) {
            driver()->glTexParameteri(GL_TEXTURE_2D, name, GL_LINEAR);
        }
        for (const GLenum name : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T}) {
            driver()->glTexParameteri(GL_TEXTURE_2D, name, GL_CLAMP_TO_EDGE);
        }
        result->unbind();
        return result;
    }

    using Inputs = std::vector<std::pair<const char *, Texture *>>;

    /// Draws a full-screen quad into a new texture that was cleared to 0.
    static TexturePointer draw(ShaderProgram &program, unsigned internalFormat, const Inputs &inputs)
    {
        TexturePointer target = texture(internalFormat, kSize, kSize, GL_RGBA, nullptr);
        FramebufferObject framebuffer(nullptr);
        framebuffer.bind();
        framebuffer.attach(target.get(), GL_COLOR_ATTACHMENT0, 0);
        driver()->glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
        driver()->glClear(GL_COLOR_BUFFER_BIT);
        program.bind();
        for (const auto &[name, input] : inputs) {
            input->bind();
            program.setUniform(program.getUniformLocation(name), int(input->unit()));
        }
        const auto quad = OpenGLDeviceContext::current()->fullscreenQuad();
        quad->VAO()->bind();
        quad->VAO()->enableShaderProgramArrays(&program);
        quad->VAO()->unbind();
        quad->bind();
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

    static ProgramPointer linked(const QString &vertex, const QString &fragment, bool withFxaa = false,
                                 const QString &preset = QString())
    {
        GLSLMacroProcessor processor;
        if (!preset.isEmpty()) {
            processor.addDefine("FXAA_QUALITY__PRESET", preset);
        }
        auto program = std::make_unique<ShaderProgram>(nullptr);
        program->setMacroProcessor(&processor);
        program->addShader(GL_VERTEX_SHADER, vertex, QString());
        program->addShader(GL_FRAGMENT_SHADER, fragment, QString());
        if (withFxaa) {
            program->addShaderFromFile(GL_FRAGMENT_SHADER, "FXAA.glslc");
        }
        EXPECT_TRUE(program->link()) << program->log().toStdString();
        program->setMacroProcessor(nullptr);
        return program;
    }

    Pixels fxaa(const QString &preset);
    Pixels smaa(const QString &preset, const QString &detection);

    /// By how much the difference to the supersampled picture falls, and that nothing else changes.
    double improvement(const Pixels &filtered)
    {
        for (int y = 1; y < kSize - 1; ++y) {
            for (int x = 1; x < kSize - 1; ++x) {
                if (isFlatAt(_stored, x, y) && filtered.at(x, y) != _stored.at(x, y)) {
                    ADD_FAILURE() << "a flat pixel changed: " << x << ", " << y;
                    return 0.0;
                }
            }
        }
        return meanSquareDifference(_stored, _reference) / meanSquareDifference(filtered, _reference);
    }

    Pixels _aliased;
    Pixels _reference;
    TexturePointer _source;
    Pixels _stored; ///< the source as 8 bits hold it
};

Pixels AntiAliasingTest::fxaa(const QString &preset)
{
    const auto program =
        linked("#version 150\n"
               "in vec4 va_Vertex; in vec2 va_TexCoord; out vec2 vo_TexCoord;\n"
               "void main() { gl_Position = va_Vertex; vo_TexCoord = va_TexCoord; }\n",
               "#version 150\n"
               "#include \"FXAA.glslh\"\n"
               "uniform sampler2D u_Picture;\n"
               "in vec2 vo_TexCoord; out vec4 out_FragColor;\n"
               "void main() {\n"
               "  out_FragColor = FxaaPixelShader(vo_TexCoord, vec4(0.0), u_Picture, u_Picture, u_Picture,\n"
               "    1.0 / vec2(textureSize(u_Picture, 0)), vec4(0.0), vec4(0.0), vec4(0.0),\n"
               "    0.5, 0.166, 0.0833, 0.0, 0.0, 0.0, vec4(0.0));\n"
               "  out_FragColor.a = 1.0;\n"
               "}\n",
               true, preset);
    const auto result = draw(*program, GL_RGBA8, {{"u_Picture", _source.get()}});
    return Pixels::ofTexture(GL_TEXTURE_2D, result->textureID());
}

Pixels AntiAliasingTest::smaa(const QString &preset, const QString &detection)
{
    const auto programOf = [&](const char *outputs, const char *vertex, const char *inputs,
                               const char *fragment) {
        const QString head = QStringLiteral("#version 330\n"
                                            "#define SMAA_RT_METRICS vec4(1.0 / %1, 1.0 / %1, %1, %1)\n"
                                            "#define SMAA_GLSL_3\n"
                                            "#define SMAA_PRESET_%2\n")
                                 .arg("96.0", preset);
        return linked(head + "#define SMAA_INCLUDE_PS 0\n#include \"SMAA.glslh\"\n" + outputs
                          + "in vec4 va_Vertex; in vec2 va_TexCoord; out vec2 vo_TexCoord;\n"
                            "void main() { gl_Position = va_Vertex; vo_TexCoord = va_TexCoord;\n"
                          + vertex + "}\n",
                      head + "#define SMAA_INCLUDE_VS 0\n#include \"SMAA.glslh\"\n" + inputs
                          + "in vec2 vo_TexCoord; out vec4 out_FragColor;\nvoid main() {\n" + fragment
                          + "}\n");
    };
    const std::vector<std::uint8_t> areaBytes = SMAATables::area();
    const std::vector<std::uint8_t> searchBytes = SMAATables::search();
    const auto area =
        texture(GL_RG8, SMAATables::kAreaWidth, SMAATables::kAreaHeight, GL_RG, areaBytes.data());
    const auto search =
        texture(GL_R8, SMAATables::kSearchWidth, SMAATables::kSearchHeight, GL_RED, searchBytes.data());
    search->bind();
    driver()->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    driver()->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    search->unbind();

    const auto detect =
        programOf("out vec4 vo_Offset[3];\n", "SMAAEdgeDetectionVS(va_TexCoord, vo_Offset);\n",
                  "in vec4 vo_Offset[3];\nuniform sampler2D u_Picture;\n",
                  qPrintable("out_FragColor = vec4(SMAA" + detection
                             + "EdgeDetectionPS(vo_TexCoord, vo_Offset, u_Picture), 0.0, 0.0);\n"));
    const auto weigh =
        programOf("out vec4 vo_Offset[3]; out vec2 vo_Pixel;\n",
                  "SMAABlendingWeightCalculationVS(va_TexCoord, vo_Pixel, vo_Offset);\n",
                  "in vec4 vo_Offset[3]; in vec2 vo_Pixel;\nuniform sampler2D u_Edges, u_Area, u_Search;\n",
                  "out_FragColor = SMAABlendingWeightCalculationPS(vo_TexCoord, vo_Pixel, vo_Offset, "
                  "u_Edges, u_Area, u_Search,\n"
                  "  vec4(0.0));\n");
    const auto blend = programOf(
        "out vec4 vo_Offset;\n", "SMAANeighborhoodBlendingVS(va_TexCoord, vo_Offset);\n",
        "in vec4 vo_Offset;\nuniform sampler2D u_Picture, u_Weights;\n",
        "out_FragColor = SMAANeighborhoodBlendingPS(vo_TexCoord, vo_Offset, u_Picture, u_Weights);\n");

    const auto edges = draw(*detect, GL_RG8, {{"u_Picture", _source.get()}});
    const auto weights = draw(*weigh, GL_RGBA8,
                              {{"u_Edges", edges.get()}, {"u_Area", area.get()}, {"u_Search", search.get()}});
    const auto result = draw(*blend, GL_RGBA8, {{"u_Picture", _source.get()}, {"u_Weights", weights.get()}});
    return Pixels::ofTexture(GL_TEXTURE_2D, result->textureID());
}

} // namespace

TEST_F(AntiAliasingTest, FxaaComesNearerToTheSupersampledPictureAndLeavesFlatAreas)
{
    for (const int preset : {10, 12, 15, 20, 25, 29, 39}) {
        EXPECT_GT(improvement(fxaa(QString::number(preset))), 2.2) << preset; // measured: 2.45 to 3.19
    }
}

TEST_F(AntiAliasingTest, SmaaComesNearerToTheSupersampledPictureAndLeavesFlatAreas)
{
    for (const char *detection : {"Luma", "Color", "Depth"}) {
        for (const char *preset : {"LOW", "MEDIUM", "HIGH", "ULTRA"}) {
            EXPECT_GT(improvement(smaa(preset, detection)), 2.5)
                << detection << preset; // measured: 2.75 to 3.31
        }
    }
}
