// The shared GLSL files: the results of their functions, and that each stage compiles and links with each define.

#include "support/Files.h"
#include "support/GLFixture.h"
#include "support/TestBuffer.h"

#include <ZelGL/ZelGL.h>

#include <QtCore/QPointF>
#include <QtGui/QMatrix4x4>
#include <QtGui/QVector2D>

#include <cmath>
#include <cstring>

using namespace Orvane::Zel;

namespace {

class ZelUtilitiesTest : public GLTest
{
protected:
    ~ZelUtilitiesTest() override { program.unbind(); }

    /// Links a vertex stage with the shared files and with \a file, whose functions \a declarations declare, and binds it.
    /// "vo_Result" is captured.
    bool link(const QString &body, const QString &file = QString(), const QString &declarations = QString())
    {
        program.setMacroProcessor(&processor);
        program.addShader(GL_VERTEX_SHADER,
                          "#version 150\n"
                          "#include \"ZelUtilities.glslh\"\n"
                          "uniform vec3 u_Dir;\n"
                          "uniform mat4 u_Matrix;\n"
                          "out vec4 vo_Result;\n"
                              + declarations
                              + "\nvoid main()\n"
                                "{\n"
                                "    gl_Position = vec4(0.0);\n"
                                "    vo_Result = "
                              + body + ";\n}\n",
                          QString());
        program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.glslc");
        program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.vert");
        if (!file.isEmpty()) {
            program.addShaderFromFile(GL_VERTEX_SHADER, file);
        }
        program.setTransformFeedbackVaryings({"vo_Result"}, GL_INTERLEAVED_ATTRIBS);
        return program.link() && program.bind();
    }

    /// The captured varying of each vertex, four floats.
    std::vector<float> capture(int vertices = 1)
    {
        const QSharedPointer<BufferObject> buffer = makeBuffer(GL_TRANSFORM_FEEDBACK_BUFFER);
        VertexArrayObject array(nullptr);
        const AutoBinder bufferBinder(buffer.data());
        const AutoBinder arrayBinder(&array);
        const AutoEnabler discard(GL_RASTERIZER_DISCARD);
        buffer->uploadArbitraryData(nullptr, vertices, GL_STREAM_READ, 4 * sizeof(float));
        glBindBufferBase(GL_TRANSFORM_FEEDBACK_BUFFER, 0, buffer->getBO());
        glBeginTransformFeedback(GL_POINTS);
        glDrawArrays(GL_POINTS, 0, vertices);
        glEndTransformFeedback();
        return contentsOf<float>(*buffer, 4 * size_t(vertices));
    }

    GLSLMacroProcessor processor;
    ShaderProgram program{nullptr};
};

} // namespace

TEST_F(ZelUtilitiesTest, DirectionsLieWhereTheMapHasThem)
{
    ASSERT_TRUE(link("vec4(directionToLatLong(u_Dir), directionToLatLong_Brix(u_Dir))"));
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
        const std::vector<float> result = capture();
        EXPECT_NEAR(row.expected.x(), result[0], 2e-6) << row.direction.x() << ' ' << row.direction.z();
        EXPECT_NEAR(row.expected.y(), result[1], 2e-6);
        EXPECT_NEAR(row.mirrored.x(), result[2], 2e-6) << row.direction.x() << ' ' << row.direction.z();
        EXPECT_NEAR(row.mirrored.y(), result[3], 2e-6);
    }
    for (const int up : {1, -1}) {
        program.setUniform("u_Dir", QVector3D(0, float(up), 0));
        EXPECT_NEAR((up + 1) / 2, capture()[1], 2e-6);
    }
}

TEST_F(ZelUtilitiesTest, ColoursAreCorrectedAndAlphaIsKept)
{
    ASSERT_TRUE(link("gammaCorrect(vec4(u_Dir, 0.25), 2.2) + vec4(gammaCorrect(u_Dir, 2.0), 0.0)"));
    program.setUniform("u_Dir", QVector3D(0.0F, 0.5F, 1.0F));
    const std::vector<float> result = capture();
    EXPECT_NEAR(0.0, result[0], 1e-4);
    EXPECT_NEAR(std::pow(0.5, 1 / 2.2) + std::pow(0.5, 1 / 2.0), result[1], 1e-4);
    EXPECT_NEAR(2.0, result[2], 1e-4);
    EXPECT_EQ(0.25F, result[3]);
}

TEST_F(ZelUtilitiesTest, ColourSpacesFollowTheirCurvesAndKeepAlpha)
{
    ASSERT_TRUE(link("u_Dir.z == 0.0   ? tvoConvert_Linear_To_Linear(vec4(u_Dir.xyx, 0.25))\n"
                     "    : u_Dir.z == 1.0 ? tvoConvert_Linear_To_Gamma22(vec4(u_Dir.xyx, 0.25))\n"
                     "    : u_Dir.z == 2.0 ? tvoConvert_Gamma22_To_Linear(vec4(u_Dir.xyx, 0.25))\n"
                     "    : u_Dir.z == 3.0 ? tvoConvert_Linear_To_sRGB(vec4(u_Dir.xyx, 0.25))\n"
                     "                     : tvoConvert_sRGB_To_Linear(vec4(u_Dir.xyx, 0.25))",
                     "Func_ColorSpace.glslc",
                     "vec4 tvoConvert_Linear_To_Linear(vec4 c);\nvec4 tvoConvert_Linear_To_Gamma22(vec4 c);\n"
                     "vec4 tvoConvert_Gamma22_To_Linear(vec4 c);\nvec4 tvoConvert_Linear_To_sRGB(vec4 c);\n"
                     "vec4 tvoConvert_sRGB_To_Linear(vec4 c);\n"));
    // The two colours are on both sides of the point where the linear part of the sRGB curve ends.
    const struct
    {
        float low, high;
        double expectedLow, expectedHigh;
    } rows[] = {{0.25F, 0.75F, 0.25, 0.75},
                {0.25F, 0.75F, std::pow(0.25, 1 / 2.2), std::pow(0.75, 1 / 2.2)},
                {0.25F, 0.75F, std::pow(0.25, 2.2), std::pow(0.75, 2.2)},
                {0.0031308F, 0.2F, 12.92 * 0.0031308, 1.055 * std::pow(0.2, 1 / 2.4) - 0.055},
                {0.04F, 0.2F, 0.04 / 12.92, std::pow(0.255 / 1.055, 2.4)}};
    for (size_t i = 0; i < std::size(rows); ++i) {
        program.setUniform("u_Dir", QVector3D(rows[i].low, rows[i].high, float(i)));
        const std::vector<float> result = capture();
        EXPECT_NEAR(rows[i].expectedLow, result[0], 1e-5) << i;
        EXPECT_NEAR(rows[i].expectedHigh, result[1], 1e-5) << i;
        EXPECT_EQ(result[0], result[2]) << i;
        EXPECT_EQ(0.25F, result[3]) << i;
    }
}

TEST_F(ZelUtilitiesTest, TheOtherVisibilityTermIsThatOfSmithWithAFloorOfRoughness)
{
    processor.addDefine("BRIX_GTR_CRUE", "1");
    ASSERT_TRUE(link("vec4(evaluateBRDF(u_Dir, vec3(0.0, 0.6, 0.8), normalize(u_Dir + vec3(0.0, 0.6, 0.8)),\n"
                     "    u_Matrix[0][0], 0.8, u_Dir.z, normalize(u_Dir + vec3(0.0, 0.6, 0.8)).z), 0.0, 0.0)",
                     "ImportanceSample.glslc", "#include \"ImportanceSample.glslh\"\n"));
    const QVector3D L(0.8F, 0.0F, 0.6F);
    const QVector3D V(0.0F, 0.6F, 0.8F);
    const QVector3D H = (L + V).normalized();
    const double VdotH = double(QVector3D::dotProduct(V, H));
    program.setUniform("u_Dir", L);
    for (const float roughness : {0.1F, 0.7F}) {
        program.setUniform("u_Matrix", QMatrix4x4() * roughness);
        const double a = std::max(double(roughness) * double(roughness), 0.04);
        const auto smith = [&](double d) { return 1.0 / (d + std::sqrt(a * a + d * d - a * a * d * d)); };
        const double g = 0.6 * smith(0.6) * smith(0.8) * 4.0 * VdotH / double(H.z());
        const std::vector<float> result = capture();
        EXPECT_NEAR(g, result[0], 1e-5) << roughness;
        EXPECT_NEAR(g * std::pow(1.0 - VdotH, 5), result[1], 1e-5) << roughness;
    }
}

namespace {

/// A point of the skewed lattice of the noise, in the plane.
QPointF latticePoint(double i, double j)
{
    const double unskew = (3.0 - std::sqrt(3.0)) / 6.0;
    return {i - (i + j) * unskew, j - (i + j) * unskew};
}

/// Simplex noise in the plane corner by corner: Perlin, Noise Hardware, 2001, with the hash and the gradients of McEwan et
/// al., Efficient Computational Noise in GLSL, 2012.
double simplexNoise(const QPointF &p)
{
    const auto permute = [](int x) { return (34 * x + 1) * x % 289; };
    const auto wrap = [](int x) { return (x % 289 + 289) % 289; };
    const double skew = (std::sqrt(3.0) - 1.0) / 2.0;
    const int i = int(std::floor(p.x() + (p.x() + p.y()) * skew));
    const int j = int(std::floor(p.y() + (p.x() + p.y()) * skew));
    const QPointF first = p - latticePoint(i, j);
    const bool isRight = first.x() > first.y();
    double sum = 0.0;
    for (const auto &[a, b] : {std::pair(0, 0), {isRight ? 1 : 0, isRight ? 0 : 1}, {1, 1}}) {
        const QPointF offset = p - latticePoint(i + a, j + b);
        const int hash = permute(wrap(permute(wrap(j + b)) + i + a));
        const double line = 2.0 * (hash % 41) / 41.0 - 1.0; // folded to a diamond below
        const QPointF gradient(line - std::floor(line + 0.5), std::fabs(line) - 0.5);
        const double square = QPointF::dotProduct(gradient, gradient);
        const double inverseLength =
            1.5 / std::sqrt(0.7) - 0.5 * std::pow(0.7, -1.5) * square; // Taylor polynomial at 0.7
        const double falloff = std::max(0.5 - QPointF::dotProduct(offset, offset), 0.0);
        sum += std::pow(falloff, 4) * inverseLength * QPointF::dotProduct(gradient, offset);
    }
    return 130.0 * sum;
}

} // namespace

TEST_F(ZelUtilitiesTest, NoiseIsThatOfItsDescription)
{
    constexpr int kSide = 128;
    // On a grid, on the same grid one period further, and at points of the lattice, where the noise is 0.
    ASSERT_TRUE(
        link("vec4(snoise(u_Dir.xy + grid()), snoise(u_Dir.xy + grid() + 289.0 * vec2(1.0 - G, -G)),\n"
             "    snoise(lattice() - (lattice().x + lattice().y) * G), 0.0)",
             "noise2D.glslc",
             "#include \"noise2D.glslh\"\n"
             "const float G = 0.211324865405187;\n"
             "vec2 lattice() { return vec2(gl_VertexID % 128, gl_VertexID / 128) - 50.0; }\n"
             "vec2 grid() { return vec2(gl_VertexID % 128, gl_VertexID / 128) * 0.37; }\n"));
    const QPointF origin(-20.125, -31.0625);
    program.setUniform("u_Dir", QVector3D(float(origin.x()), float(origin.y()), 0.0F));
    const auto values = capture(kSide * kSide);
    double sum = 0.0;
    double largest = 0.0;
    for (int i = 0; i < kSide * kSide; ++i) {
        const float *value = &values[size_t(i) * 4];
        const double expected = simplexNoise(origin + 0.37 * QPointF(i % kSide, i / kSide));
        ASSERT_NEAR(expected, value[0], 2e-4) << i;
        ASSERT_NEAR(expected, value[1], 2e-3) << i; // far from the origin, the coordinates have fewer digits
        ASSERT_NEAR(0.0, value[2], 1e-3) << i;
        sum += double(value[0]);
        largest = std::max(largest, double(std::fabs(value[0])));
    }
    EXPECT_LT(largest, 1.0);
    EXPECT_GT(largest, 0.9);
    EXPECT_NEAR(0.0, sum / (kSide * kSide), 0.02);
}

TEST_F(ZelUtilitiesTest, NormalsTurnByTheInverseTransposed)
{
    ASSERT_TRUE(link("vec4(mat3Rotation(u_Matrix) * u_Dir, 1.0)"));
    QMatrix4x4 matrix;
    matrix.translate(5, 6, 7);
    matrix.rotate(30, 1, 2, 3);
    matrix.scale(1, 2, 4);
    const QVector3D normal(0.3F, -0.5F, 0.8F);
    program.setUniform("u_Matrix", matrix);
    program.setUniform("u_Dir", normal);
    const QVector3D expected = matrix.inverted().transposed().mapVector(normal);
    const std::vector<float> result = capture();
    EXPECT_NEAR(expected.x(), result[0], 1e-4);
    EXPECT_NEAR(expected.y(), result[1], 1e-4);
    EXPECT_NEAR(expected.z(), result[2], 1e-4);
}

TEST_F(ZelUtilitiesTest, WithoutTheirExtensionBitsAreComputedToAFewUnitsOfTheLastPlace)
{
    QString text = bytesOf(":/GLSL/include/ShaderBitEncoding.glslh");
    text.replace("#ifdef GL_ARB_shader_bit_encoding", "#if 0"); // the driver has the extension
    ASSERT_TRUE(link("vec4(floatBitsToUint(u_Dir.x) >> 16u, floatBitsToUint(u_Dir.x) & 0xFFFFu,\n"
                     "    uintBitsToFloat(u_Bits), 0.0)",
                     QString(), text + "\nuniform uint u_Bits;\n"));
    for (const float value :
         {0.0f, 1.0f, -1.0f, 0.5f, 0.9999999f, 0.7071f, 3.0f, -1234.5f, 1e-20f, 3e38f, 2e-38f}) {
        GLuint bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        program.setUniform("u_Dir", QVector3D(value, 0.0f, 0.0f));
        program.setUniform("u_Bits", QVariant(bits));
        const std::vector<float> result = capture();
        const GLuint encoded = GLuint(result[0]) << 16 | GLuint(result[1]);
        float read = 0.0f;
        std::memcpy(&read, &encoded, sizeof read);
        EXPECT_NEAR(value, read, std::fabs(value) * 1e-6f) << "encoded";
        EXPECT_NEAR(value, result[2], std::fabs(value) * 1e-6f) << "decoded";
    }
}

TEST_F(ZelUtilitiesTest, TheFilesLinkIntoBothStagesAndTheBlockOfCommandsIsAsTheHostFillsIt)
{
    for (const char *file : {"passthroughVS.glslc", "ZelUtilities.glslc", "ZelUtilities.vert"}) {
        program.addShaderFromFile(GL_VERTEX_SHADER, file);
    }
    for (const char *file : {"ZelUtilities.glslc", "ZelUtilities.frag"}) {
        program.addShaderFromFile(GL_FRAGMENT_SHADER, file);
    }
    program.addShader(
        GL_FRAGMENT_SHADER,
        "#version 150\n" + QString("#include \"DrawElementsIndirectCommand.glslh\"\n").repeated(2)
            + QString("#include \"ZelUtilities.glslh\"\n").repeated(2) + // twice, for the include guard
            "out vec4 out_FragColor;\n"
            "void main() { out_FragColor = gammaCorrect(\n"
            "    vec4(u_DrawElementsIndirectCommands[u_DrawID].firstIndex), 2.2); }\n",
        QString());
    ASSERT_TRUE(program.link());
    EXPECT_EQ(0u, program.getUniformBlockIndex("u_DrawElementsIndirectCommandsUniform"));
    GLint size = 0;
    glGetActiveUniformBlockiv(program.shaderProgramID(), 0, GL_UNIFORM_BLOCK_DATA_SIZE, &size);
    EXPECT_EQ(100 * 32, size);
}
