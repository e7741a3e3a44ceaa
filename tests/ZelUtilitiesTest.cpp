// The shared GLSL files: what their functions compute, and that every stage compiles and links under every define.

#include "support/GLFixture.h"

#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelGL/GLUtilities.h>
#include <ZelGL/ShaderProgram.h>

#include <QtGui/QMatrix4x4>
#include <QtGui/QVector2D>

#include <cmath>

using namespace Orvane::Zel;

namespace {

class ZelUtilitiesTest : public GLTest
{
protected:
    /// Links a vertex stage with the shared files, and captures its varying "vo_Result".
    bool link(const QString &body)
    {
        program.setMacroProcessor(&processor);
        program.addShader(GL_VERTEX_SHADER,
                          "#version 150\n"
                          "#include \"ZelUtilities.glslh\"\n"
                          "uniform vec3 u_Dir;\n"
                          "uniform mat4 u_Matrix;\n"
                          "out vec4 vo_Result;\n"
                          "void main()\n"
                          "{\n"
                          "    gl_Position = vec4(0.0);\n"
                          "    vo_Result = "
                              + body + ";\n}\n",
                          QString());
        program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.glslc");
        program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.vert");
        program.setTransformFeedbackVaryings({"vo_Result"}, GL_INTERLEAVED_ATTRIBS);
        return program.link();
    }

    /// The varying, four floats.
    std::vector<float> captureOne()
    {
        std::vector<float> values(4);
        GLuint buffer = 0;
        GLuint array = 0;
        glGenBuffers(1, &buffer);
        glBindBufferBase(GL_TRANSFORM_FEEDBACK_BUFFER, 0, buffer);
        glBufferData(GL_TRANSFORM_FEEDBACK_BUFFER, 16, nullptr, GL_STREAM_READ);
        glGenVertexArrays(1, &array);
        glBindVertexArray(array);
        glEnable(GL_RASTERIZER_DISCARD);
        glBeginTransformFeedback(GL_POINTS);
        glDrawArrays(GL_POINTS, 0, 1);
        glEndTransformFeedback();
        glDisable(GL_RASTERIZER_DISCARD);
        glGetBufferSubData(GL_TRANSFORM_FEEDBACK_BUFFER, 0, 16, values.data());
        glDeleteVertexArrays(1, &array);
        glDeleteBuffers(1, &buffer);
        return values;
    }

    GLSLMacroProcessor processor;
    ShaderProgram program{nullptr};
};

} // namespace

TEST_F(ZelUtilitiesTest, DirectionsLieWhereTheMapHasThem)
{
    ASSERT_TRUE(link("vec4(directionToLatLong(u_Dir), directionToLatLong_Brix(u_Dir))"));
    ASSERT_TRUE(program.bind());
    const float half = float(std::sqrt(0.5));
    const struct
    {
        QVector3D direction;
        QVector2D expected;
        QVector2D mirrored;
    } rows[] = {
        {{0, 0, -1}, {0.25F, 0.5F}, {1.0F, 0.5F}}, // forward
        {{0, 0, 1}, {0.75F, 0.5F}, {0.5F, 0.5F}},  // back
        {{1, 0, 0}, {0.5F, 0.5F}, {0.75F, 0.5F}},           {{half, half, 0}, {0.5F, 0.75F}, {0.75F, 0.75F}},
        {{0, -half, -half}, {0.25F, 0.25F}, {1.0F, 0.25F}},
    };
    for (const auto &row : rows) {
        program.setUniform("u_Dir", row.direction);
        const std::vector<float> result = captureOne();
        EXPECT_NEAR(row.expected.x(), result[0], 1e-4) << row.direction.x() << ' ' << row.direction.z();
        EXPECT_NEAR(row.expected.y(), result[1], 1e-4);
        EXPECT_NEAR(row.mirrored.x(), result[2], 1e-4) << row.direction.x() << ' ' << row.direction.z();
        EXPECT_NEAR(row.mirrored.y(), result[3], 1e-4);
    }
    for (const int up : {1, -1}) {
        program.setUniform("u_Dir", QVector3D(0, float(up), 0));
        EXPECT_NEAR((up + 1) / 2, captureOne()[1], 1e-4);
    }
    program.unbind();
}

TEST_F(ZelUtilitiesTest, ColoursAreCorrectedAndAlphaIsKept)
{
    ASSERT_TRUE(link("gammaCorrect(vec4(u_Dir, 0.25), 2.2) + vec4(gammaCorrect(u_Dir, 2.0), 0.0)"));
    ASSERT_TRUE(program.bind());
    program.setUniform("u_Dir", QVector3D(0.0F, 0.5F, 1.0F));
    const std::vector<float> result = captureOne();
    EXPECT_NEAR(0.0, result[0], 1e-4);
    EXPECT_NEAR(std::pow(0.5, 1 / 2.2) + std::pow(0.5, 1 / 2.0), result[1], 1e-4);
    EXPECT_NEAR(2.0, result[2], 1e-4);
    EXPECT_EQ(0.25F, result[3]);
    program.unbind();
}

TEST_F(ZelUtilitiesTest, NormalsTurnByTheInverseTransposed)
{
    ASSERT_TRUE(link("vec4(mat3Rotation(u_Matrix) * u_Dir, 1.0)"));
    ASSERT_TRUE(program.bind());
    QMatrix4x4 matrix;
    matrix.translate(5, 6, 7);
    matrix.rotate(30, 1, 2, 3);
    matrix.scale(1, 2, 4);
    const QVector3D normal(0.3F, -0.5F, 0.8F);
    program.setUniform("u_Matrix", matrix);
    program.setUniform("u_Dir", normal);
    const QVector3D expected = matrix.inverted().transposed().mapVector(normal);
    const std::vector<float> result = captureOne();
    EXPECT_NEAR(expected.x(), result[0], 1e-4);
    EXPECT_NEAR(expected.y(), result[1], 1e-4);
    EXPECT_NEAR(expected.z(), result[2], 1e-4);
    program.unbind();
}

TEST_F(ZelUtilitiesTest, TheFilesLinkIntoBothStagesAndTheBlockOfCommandsIsAsTheHostFillsIt)
{
    ShaderProgram full(nullptr);
    full.addShaderFromFile(GL_VERTEX_SHADER, "passthroughVS.glslc");
    full.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.glslc");
    full.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.vert");
    full.addShaderFromFile(GL_FRAGMENT_SHADER, "ZelUtilities.glslc");
    full.addShaderFromFile(GL_FRAGMENT_SHADER, "ZelUtilities.frag");
    full.addShader(GL_FRAGMENT_SHADER,
                   "#version 150\n" + QString("#include \"DrawElementsIndirectCommand.glslh\"\n").repeated(2)
                       + QString("#include \"ZelUtilities.glslh\"\n").repeated(2) + // guarded
                       "out vec4 out_FragColor;\n"
                       "void main() { out_FragColor = gammaCorrect(\n"
                       "    vec4(u_DrawElementsIndirectCommands[u_DrawID].firstIndex), 2.2); }\n",
                   QString());
    ASSERT_TRUE(full.link());
    EXPECT_EQ(0u, full.getUniformBlockIndex("u_DrawElementsIndirectCommandsUniform"));
    GLint size = 0;
    glGetActiveUniformBlockiv(full.shaderProgramID(), 0, GL_UNIFORM_BLOCK_DATA_SIZE, &size);
    EXPECT_EQ(100 * 32, size);
}
