// The arithmetic of ShaderBitEncoding.glslh, which drivers without the extension use.

#include "support/Files.h"
#include "support/GLFixture.h"

#include <ZelGL/GLUtilities.h>
#include <ZelGL/ShaderProgram.h>

#include <cmath>
#include <cstring>

using namespace Orvane::Zel;

namespace {

float floatOf(GLuint bits)
{
    float value = 0.0f;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

GLuint bitsOf(float value)
{
    GLuint bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

using ShaderBitEncodingTest = GLTest;

} // namespace

TEST_F(ShaderBitEncodingTest, TheArithmeticIsThatOfTheBitsToAFewUnitsOfTheLastPlace)
{
    QString text = bytesOf(":/GLSL/include/ShaderBitEncoding.glslh");
    text.replace("#ifdef GL_ARB_shader_bit_encoding", "#if 0"); // the driver has the extension
    ShaderProgram program(nullptr);
    program.addShader(GL_VERTEX_SHADER,
                      QStringLiteral("#version 150\n") + text
                          + "uniform float u_Value; uniform uint u_Bits;\n"
                            "flat out uint vo_Bits; flat out float vo_Value;\n"
                            "void main() { gl_Position = vec4(0.0); vo_Bits = floatBitsToUint(u_Value);\n"
                            "  vo_Value = uintBitsToFloat(u_Bits); }\n",
                      QString());
    program.setTransformFeedbackVaryings({"vo_Bits", "vo_Value"}, GL_INTERLEAVED_ATTRIBS);
    ASSERT_TRUE(program.link()) << program.log().toStdString();
    program.bind();
    GLuint buffer = 0;
    GLuint array = 0;
    glGenBuffers(1, &buffer);
    glGenVertexArrays(1, &array);
    glBindVertexArray(array);
    glBindBufferBase(GL_TRANSFORM_FEEDBACK_BUFFER, 0, buffer);
    glBufferData(GL_TRANSFORM_FEEDBACK_BUFFER, 8, nullptr, GL_STREAM_READ);
    glEnable(GL_RASTERIZER_DISCARD);
    for (const float value :
         {0.0f, 1.0f, -1.0f, 0.5f, 0.9999999f, 0.7071f, 3.0f, -1234.5f, 1e-20f, 3e30f, 2e-38f}) {
        glUniform1f(program.getUniformLocation("u_Value"), value);
        glUniform1ui(program.getUniformLocation("u_Bits"), bitsOf(value));
        glBeginTransformFeedback(GL_POINTS);
        glDrawArrays(GL_POINTS, 0, 1);
        glEndTransformFeedback();
        GLuint words[2] = {};
        glGetBufferSubData(GL_TRANSFORM_FEEDBACK_BUFFER, 0, 8, words);
        EXPECT_NEAR(value, floatOf(words[0]), std::fabs(value) * 1e-6f) << "encoded";
        EXPECT_NEAR(value, floatOf(words[1]), std::fabs(value) * 1e-6f) << "decoded";
    }
    glDisable(GL_RASTERIZER_DISCARD);
    glBindVertexArray(0);
    glDeleteVertexArrays(1, &array);
    glDeleteBuffers(1, &buffer);
    program.unbind();
}
