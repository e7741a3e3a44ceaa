// The results of the functions of the shared GLSL files.

#include "support/Files.h"
#include "support/GLFixture.h"
#include "support/TestBuffer.h"

#include <ZelGL/ZelGL.h>

#include <cmath>
#include <cstring>

using namespace Orvane::Zel;

namespace {

/// What the expressions of the tests use.
const QString kHead = R"(#version 150
#include "ZelUtilities.glslh"
#include "ImportanceSample.glslh"
#include "noise2D.glslh"
vec4 tvoConvert_Linear_To_Linear(vec4 c);
vec4 tvoConvert_Linear_To_Gamma22(vec4 c);
vec4 tvoConvert_Gamma22_To_Linear(vec4 c);
vec4 tvoConvert_Linear_To_sRGB(vec4 c);
vec4 tvoConvert_sRGB_To_Linear(vec4 c);
uniform vec3 u_Dir;
uniform uint u_Bits;
out vec4 vo_Result;
)";

class ZelUtilitiesTest : public GLTest
{
protected:
    ~ZelUtilitiesTest() override { program->unbind(); }

    /// Links and binds a vertex stage whose result is this expression.
    void link(const QString &expression, const QString &declarations = QString())
    {
        processor.addDefine("BRIX_GTR_CRUE", "1");
        program = std::make_unique<ShaderProgram>(nullptr);
        program->setMacroProcessor(&processor);
        program->addShader(GL_VERTEX_SHADER,
                           kHead + declarations
                               + "void main() { gl_Position = vec4(0.0); vo_Result = " + expression + "; }\n",
                           QString());
        for (const char *file : {"ZelUtilities.glslc", "ZelUtilities.vert", "ImportanceSample.glslc",
                                 "noise2D.glslc", "Func_ColorSpace.glslc"}) {
            program->addShaderFromFile(GL_VERTEX_SHADER, file);
        }
        program->setTransformFeedbackVaryings({"vo_Result"}, GL_INTERLEAVED_ATTRIBS);
        ASSERT_TRUE(program->link() && program->bind()) << expression.toStdString();
    }

    /// The result for this argument.
    QVector4D result(const QVector3D &argument)
    {
        program->setUniform("u_Dir", argument);
        const QSharedPointer<BufferObject> buffer = makeBuffer(GL_TRANSFORM_FEEDBACK_BUFFER);
        VertexArrayObject array(nullptr);
        const AutoBinder bufferBinder(buffer.data());
        const AutoBinder arrayBinder(&array);
        const AutoEnabler discard(GL_RASTERIZER_DISCARD);
        buffer->uploadArbitraryData(nullptr, 1, GL_STREAM_READ, 4 * sizeof(float));
        glBindBufferBase(GL_TRANSFORM_FEEDBACK_BUFFER, 0, buffer->getBO());
        glBeginTransformFeedback(GL_POINTS);
        glDrawArrays(GL_POINTS, 0, 1);
        glEndTransformFeedback();
        return contentsOf<QVector4D>(*buffer, 1).front();
    }

    GLSLMacroProcessor processor;
    std::unique_ptr<ShaderProgram> program;
};

TEST_F(ZelUtilitiesTest, FunctionsReturnTheirGoldenValues)
{
    const float half = float(std::sqrt(0.5));
    const auto same = [](float value) { return QVector4D(value, value, value, value); };
    const auto power = [](double base, double exponent) { return float(std::pow(base, exponent)); };
    const struct
    {
        const char *expression;
        std::vector<std::pair<QVector3D, QVector4D>> values; ///< arguments and results
    } rows[] = {
        {"vec4(directionToLatLong(u_Dir), directionToLatLong_Brix(u_Dir))",
         {{{0, 0, -1}, {0.25f, 0.5f, 1.0f, 0.5f}}, // forward
          {{0, 0, 1}, {0.75f, 0.5f, 0.5f, 0.5f}},  // back
          {{1, 0, 0}, {0.5f, 0.5f, 0.75f, 0.5f}},
          {{half, half, 0}, {0.5f, 0.75f, 0.75f, 0.75f}},
          {{0, -half, -half}, {0.25f, 0.25f, 1.0f, 0.25f}}}},
        {"directionToLatLong(u_Dir).yyyy", {{{0, 1, 0}, {1, 1, 1, 1}}, {{0, -1, 0}, {0, 0, 0, 0}}}},
        {"gammaCorrect(vec4(u_Dir, 0.25), 2.2) + vec4(gammaCorrect(u_Dir, 2.0), 0.0)",
         {{{0.0f, 0.5f, 1.0f}, {0.0f, power(0.5, 1 / 2.2) + power(0.5, 0.5), 2.0f, 0.25f}}}},
        {"tvoConvert_Linear_To_Linear(vec4(u_Dir, 0.25))",
         {{{0.25f, 0.5f, 0.75f}, {0.25f, 0.5f, 0.75f, 0.25f}}}},
        {"tvoConvert_Linear_To_Gamma22(vec4(u_Dir, 0.25))",
         {{{0.25f, 0.5f, 0.75f}, {power(0.25, 1 / 2.2), power(0.5, 1 / 2.2), power(0.75, 1 / 2.2), 0.25f}}}},
        {"tvoConvert_Gamma22_To_Linear(vec4(u_Dir, 0.25))",
         {{{0.25f, 0.5f, 0.75f}, {power(0.25, 2.2), power(0.5, 2.2), power(0.75, 2.2), 0.25f}}}},
        // On both sides of the point where the linear part of the curve ends.
        {"tvoConvert_Linear_To_sRGB(vec4(u_Dir, 0.25))",
         {{{0.0031308f, 0.2f, 0.5f},
           {12.92f * 0.0031308f, 1.055f * power(0.2, 1 / 2.4) - 0.055f, 1.055f * power(0.5, 1 / 2.4) - 0.055f,
            0.25f}}}},
        {"tvoConvert_sRGB_To_Linear(vec4(u_Dir, 0.25))",
         {{{0.04f, 0.2f, 0.5f},
           {0.04f / 12.92f, power(0.255 / 1.055, 2.4), power(0.555 / 1.055, 2.4), 0.25f}}}},
        {"vec4(mat3Rotation(mat4(1, 0, 0, 0, 0, 2, 0, 0, 1, 0, 4, 0, 5, 6, 7, 1)) * u_Dir, 1.0)",
         {{{0.3f, -0.5f, 0.8f}, {0.3f, -0.25f, 0.125f, 1.0f}}}}, // by the inverse transposed
        // The other visibility term: that of Smith, with a floor of roughness.
        {"vec4(evaluateBRDF(u_Dir, vec3(0.0, 0.6, 0.8), normalize(u_Dir + vec3(0.0, 0.6, 0.8)), 0.1, 0.8,\n"
         "    u_Dir.z, normalize(u_Dir + vec3(0.0, 0.6, 0.8)).z) * vec2(1.0, 1e4), 0.0, 0.0)",
         {{{0.8f, 0.0f, 0.6f}, {1.320193f, 0.704155f, 0.0f, 0.0f}}}},
        {"vec4(evaluateBRDF(u_Dir, vec3(0.0, 0.6, 0.8), normalize(u_Dir + vec3(0.0, 0.6, 0.8)), 0.7, 0.8,\n"
         "    u_Dir.z, normalize(u_Dir + vec3(0.0, 0.6, 0.8)).z) * vec2(1.0, 1e4), 0.0, 0.0)",
         {{{0.8f, 0.0f, 0.6f}, {1.166178f, 0.622007f, 0.0f, 0.0f}}}},
        {"vec4(snoise(u_Dir.xy))",
         {{{-14.625f, 13.890625f, 0}, same(-0.01192f)},
          {{10.546875f, -9.796875f, 0}, same(-0.69491f)},
          {{-0.1875f, -2.015625f, 0}, same(-0.69330f)},
          {{6.0625f, 11.546875f, 0}, same(0.58248f)},
          {{-16.25f, -18.859375f, 0}, same(-0.01946f)},
          {{13.4375f, -2.6875f, 0}, same(0.56871f)},
          {{10.484375f, -19.921875f, 0}, same(-0.20257f)},
          {{-2.1875f, 8.859375f, 0}, same(-0.34822f)},
          {{-10.84375f, 17.8125f, 0}, same(-0.01992f)},
          {{16.0625f, -18.78125f, 0}, same(0.61682f)},
          {{-18.984375f, 1.65625f, 0}, same(-0.31064f)},
          {{17.5625f, -4.75f, 0}, same(0.19179f)},
          {{-130.25f, 187.5f, 0}, same(0.59159f)},
          {{301.125f, -222.75f, 0}, same(-0.48119f)},
          {{0.0f, 0.0f, 0}, same(0.00000f)}}},
    };
    for (const auto &row : rows) {
        link(row.expression);
        for (const auto &[argument, expected] : row.values) {
            const QVector4D actual = result(argument);
            EXPECT_LT((actual - expected).length(), 1e-4f)
                << row.expression << " of " << argument.x() << ' ' << argument.y() << ' ' << argument.z()
                << " is " << actual.x() << ' ' << actual.y() << ' ' << actual.z() << ' ' << actual.w();
        }
    }
}

TEST_F(ZelUtilitiesTest, WithoutTheirExtensionBitsAreComputedToAFewUnitsOfTheLastPlace)
{
    QString text = bytesOf(":/GLSL/include/ShaderBitEncoding.glslh");
    text.replace("#ifdef GL_ARB_shader_bit_encoding", "#if 0"); // the driver has the extension
    link("vec4(floatBitsToUint(u_Dir.x) >> 16u, floatBitsToUint(u_Dir.x) & 0xFFFFu, uintBitsToFloat(u_Bits), "
         "0.0)",
         text);
    for (const float value :
         {0.0f, 1.0f, -1.0f, 0.5f, 0.9999999f, 0.7071f, 3.0f, -1234.5f, 1e-20f, 3e38f, 2e-38f}) {
        GLuint bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        program->setUniform("u_Bits", QVariant(bits));
        const QVector4D actual = result({value, 0.0f, 0.0f});
        const GLuint encoded = GLuint(actual.x()) << 16 | GLuint(actual.y());
        float read = 0.0f;
        std::memcpy(&read, &encoded, sizeof read);
        EXPECT_NEAR(value, read, std::fabs(value) * 1e-6f) << "encoded";
        EXPECT_NEAR(value, actual.z(), std::fabs(value) * 1e-6f) << "decoded";
    }
}

} // namespace
