// The queries of a linked program, and the values of its uniforms.

#include "support/FakeLimits.h"
#include "support/FakeLoader.h"
#include "support/GLFixture.h"
#include "support/Tap.h"

#include <ZelGL/RangedValues.h>
#include <ZelGL/ShaderProgram.h>

#include <QtGui/QColor>
#include <QtGui/QGenericMatrix>
#include <QtGui/QImage>
#include <QtGui/QMatrix4x4>
#include <QtGui/QOpenGLFunctions_3_2_Core>
#include <QtGui/QVector2D>
#include <QtGui/QVector3D>
#include <QtGui/QVector4D>

#include <numeric>

using namespace Orvane::Zel;

namespace {

/// Uniforms of the types that the tests set. The shader reads all of them, so that all stay active.
const QString kUniforms = R"(#version 150
uniform int u_Int; uniform uint u_UInt; uniform bool u_Bool; uniform float u_Float;
uniform vec2 u_Vec2; uniform vec3 u_Vec3; uniform vec4 u_Vec4;
uniform mat4 u_Mat4; uniform mat3 u_Mat3; uniform mat2 u_Mat2; uniform mat4x2 u_Mat4x2;
uniform sampler2D u_Samplers[2]; uniform samplerCube u_Cube;
void main()
{
    vec4 sum = vec4(u_Int + int(u_UInt) + int(u_Bool)) + u_Float + u_Vec2.xyxy;
    sum += u_Vec3.xyzx + u_Vec4 + u_Mat4 * u_Vec4 + (u_Mat3 * u_Vec3).xyzx;
    sum += (u_Mat2 * u_Vec2).xyxy + (u_Mat4x2 * u_Vec4).xyxy;
    sum += textureLod(u_Samplers[0], sum.xy, 0.0) + textureLod(u_Samplers[1], sum.xy, 0.0);
    gl_Position = sum + textureLod(u_Cube, sum.xyz, 0.0);
})";

/// For uniform blocks with version 150, for buffer blocks with version 430.
const QString kBlocks = "#version %1\n"
                        "layout (std140) %2 %3 { vec4 first; };\n"
                        "layout (std140) %2 Second { vec4 second; };\n"
                        "in vec4 va_Vertex;\n"
                        "in vec2 %3va;\n"
                        "uniform float u_Float;\n"
                        "void main() { gl_Position = va_Vertex + %3va.xyxy + first + second + u_Float\n"
                        "    + vec4(gl_VertexID + gl_InstanceID); }";
const QString kLong(1022, 'n'); // GLSL names have at most 1024 characters

using StorageBinding = PFNGLSHADERSTORAGEBLOCKBINDINGPROC;
using Floats = std::vector<float>;

/// Exists before the first program.
struct StorageLoader : FakeLoader
{
    StorageLoader() { record<StorageBinding>("glShaderStorageBlockBinding"); }
};

/// Counts every call that sets a uniform.
using UniformTaps =
    Taps<&glUniform1i, &glUniform1ui, &glUniform1f, &glUniform2f, &glUniform3f, &glUniform4f, &glUniform1fv,
         &glUniform2fv, &glUniform3fv, &glUniform4fv, &glUniform1iv, &glUniform2iv, &glUniform3iv,
         &glUniform4iv, &glUniform1uiv, &glUniform2uiv, &glUniform3uiv, &glUniform4uiv, &glUniformMatrix2fv,
         &glUniformMatrix3fv, &glUniformMatrix4fv, &glUniformMatrix4x2fv>;

class ShaderProgramUniformTest : public GLTest
{
protected:
    ~ShaderProgramUniformTest() override { program.unbind(); }

    /// Leaves the program bound.
    bool link(const QString &source)
    {
        program.addShader(GL_VERTEX_SHADER, source, QString());
        return program.link() && program.bind();
    }

    /// The value of a uniform, or of one element of an array, in GL, as floats.
    Floats held(const QString &name, size_t components)
    {
        Floats values(components);
        const GLint location = driver()->glGetUniformLocation(program.shaderProgramID(), qPrintable(name));
        EXPECT_GE(location, 0) << qPrintable(name);
        driver()->glGetUniformfv(program.shaderProgramID(), location, values.data());
        return values;
    }

    StorageLoader loader;
    ShaderProgram program{nullptr};
};

const AssertionsOf asserted("ShaderProgram.cpp");

} // namespace

TEST_F(ShaderProgramUniformTest, AttributesAndUniformsAreKnownByName)
{
    program.cacheVertexAttributes(); // without a program: nothing
    program.cacheUniformBlockIndices();
    EXPECT_EQ(-1, program.getVertexAttributeLocation("va_Vertex"));
    Tap<&glGetUniformLocation> queries;
    ASSERT_TRUE(link(kBlocks.arg("150", "uniform", kLong)));
    EXPECT_EQ(1u, queries.count()) << "the draw ID";
    EXPECT_EQ(-1, program.getUniformLocationNameID());
    QStringList names = program.getVertexAttributeNames();
    names.sort();
    EXPECT_EQ((QStringList{kLong + "va", "va_Vertex"}), names);
    for (const QString &name : names) {
        EXPECT_EQ(driver()->glGetAttribLocation(program.shaderProgramID(), qPrintable(name)),
                  program.getVertexAttributeLocation(name));
    }
    EXPECT_EQ(-1, program.getVertexAttributeLocation("va_Unknown"));
    const int location = program.getUniformLocation("u_Float");
    EXPECT_TRUE(program.hasUniform("u_Float"));
    EXPECT_FALSE(program.hasUniform("u_Unknown"));
    EXPECT_EQ(-1, program.getUniformLocation("u_Unknown"));
    EXPECT_EQ(3u, queries.count());
    program.clear();
    ASSERT_TRUE(link(kUniforms));
    EXPECT_EQ(location, program.getUniformLocation("u_Float")) << "kept, though another source is linked";
    EXPECT_EQ(3u, queries.count());
}

TEST_F(ShaderProgramUniformTest, AnIllegalBuiltInAttributeIsReportedAndTheProgramIsLinked)
{
    const QByteArrayList attributes =
        QByteArray("gl_VertexID gl_InstanceID gl_BaseInstance gl_BaseInstanceARB gl_Vertex "
                   "gl_VertexIDARB gl va_Vertex")
            .split(' ');
    const FakeAnswers<&glGetProgramiv> counts(GL_ACTIVE_ATTRIBUTES, attributes.size());
    Hook<&glGetActiveAttrib> names;
    names.replace([&](GLuint, GLuint index, GLsizei size, GLsizei *, GLint *, GLenum *, GLchar *name) {
        EXPECT_EQ(200, size);
        qstrcpy(name, attributes.at(int(index)).constData());
    });
    Tap<&glGetAttribLocation> locations;
    locations.replace([](GLuint, const GLchar *name) { return *name == 'v' ? 0 : 5; });
    EXPECT_TRUE(link(kUniforms));
    const QString illegal = asserted("false", "[ !! ] Shader Contains GL attribute '%1'. This is illigal");
    EXPECT_MESSAGES(illegal.arg("gl_Vertex"), illegal.arg("gl_VertexIDARB"));
    EXPECT_EQ(size_t(attributes.size()), locations.count());
    EXPECT_EQ((QHash<QString, int>{{"gl", 5}, {"va_Vertex", 0}}),
              program.getVertexAttributeNameLocationMap());
}

TEST_F(ShaderProgramUniformTest, ABlockBindingReachesGLWhenItChangesOrHasNoBlock)
{
    for (const bool isStorage : {false, true}) {
        ZEL_NEEDS_EXTENSION_IF(isStorage, "GL_ARB_shader_storage_buffer_object");
        program.clear();
        ASSERT_TRUE(link(kBlocks.arg(isStorage ? "430" : "150", isStorage ? "buffer" : "uniform", kLong)));
        const GLuint name = program.shaderProgramID();
        const unsigned int type = isStorage ? GL_SHADER_STORAGE_BUFFER : GL_ARRAY_BUFFER; // any other type
        const GLuint first = program.getTypeBlockIndex(type, kLong);
        const GLuint second = program.getTypeBlockIndex(type, "Second");
        EXPECT_EQ(1u, first + second);
        EXPECT_EQ(GL_INVALID_INDEX, program.getTypeBlockIndex(type, "Unknown"));
        EXPECT_EQ(GL_INVALID_INDEX, isStorage ? program.getUniformBlockIndex("Second")
                                              : program.getStorageBlockIndex("Second"));
        Tap<&glUniformBlockBinding> bindings;
        bindings.replace([](GLuint, GLuint, GLuint) {}); // one has no block
        program.setTypeBlockBinding(type, second, 0);    // as linked
        program.setTypeBlockBinding(type, second, 3);
        program.setTypeBlockBinding(type, second, 3);
        EXPECT_EQ(3u, program.getTypeBlockBinding(type, second));
        EXPECT_EQ(0u, program.getTypeBlockBinding(type, first));
        program.setTypeBlockBinding(type, 77, 1);
        EXPECT_EQ(0u, program.getTypeBlockBinding(type, 77));
        const QString kind = isStorage ? "storage" : "uniform";
        const QString report = asserted("itFind != this->_" + kind + "BlockBindingIndices.end()",
                                        "Trying to %1 " + kind + "BlockIndex 77 on shader "
                                            + QString::number(name) + ". Does not exist.");
        EXPECT_MESSAGES(report.arg("set"), report.arg("get"));
        const std::vector<Tap<&glUniformBlockBinding>::Call> expected = {{name, second, 3}, {name, 77, 1}};
        EXPECT_EQ(expected, isStorage ? Recorded<StorageBinding>::calls : bindings.calls());
    }
}

TEST_F(ShaderProgramUniformTest, AVariantSetsTheUniformByTheTypeThatItHolds)
{
    ASSERT_TRUE(link(kUniforms));
    float count[16];
    std::iota(std::begin(count), std::end(count), 1.0F);
    const struct
    {
        const char *name;
        QVariant value;
        Floats expected;
    } rows[] = {
        {"u_Bool", true, {1}},
        {"u_Int", -3, {-3}},
        {"u_Int", QImage(1, 1, QImage::Format_RGB32), {0}},
        {"u_UInt", 4u, {4}},
        {"u_Float", 1.5, {1.5}},
        {"u_Float", 2.5F, {2.5}},
        {"u_Float", QVariant::fromValue(RangedFloat{3.5F, 0.0F, 1.0F}), {3.5}},
        {"u_Float", QVariant::fromValue(RangedDouble{4.5, 0.0, 1.0}), {4.5}},
        {"u_Vec4", QColor::fromRgbF(1.0, 0.0, 1.0, 0.0), {1, 0, 1, 0}},
        {"u_Vec4", QColor(), {0, 0, 0, 1}},
        {"u_Vec2", QVector2D(1, 2), {1, 2}},
        {"u_Vec3", QVector3D(1, 2, 3), {1, 2, 3}},
        {"u_Vec4", QVector4D(1, 2, 3, 4), {1, 2, 3, 4}},
        // GL stores columns.
        {"u_Mat4", QMatrix4x4(count), {1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15, 4, 8, 12, 16}},
        {"u_Mat3", QVariant::fromValue(QMatrix3x3(count)), {1, 4, 7, 2, 5, 8, 3, 6, 9}},
        {"u_Mat2", QVariant::fromValue(QMatrix2x2(count)), {1, 3, 2, 4}},
        {"u_Mat4x2", QVariant::fromValue(QMatrix4x2(count)), {1, 5, 2, 6, 3, 7, 4, 8}},
    };
    UniformTaps taps;
    for (const auto &row : rows) {
        EXPECT_TRUE(program.setUniform(row.name, row.value));
        EXPECT_EQ(row.expected, held(row.name, row.expected.size()))
            << row.name << ' ' << row.value.typeName();
    }
    EXPECT_EQ(std::size(rows), taps.count());
    const int location = program.getUniformLocation("u_Float");
    EXPECT_TRUE(program.setUniform(location, QVariant(QString("x"))));
    EXPECT_TRUE(program.setUniform(location, QVariant()));
    const QString report =
        "critical [ShaderProgram.cpp:#] ZelShaderProgram::setUniform is not implemented for type : ";
    EXPECT_MESSAGES(report + "QString", report);
    EXPECT_FALSE(program.setUniform("missing", QVariant(1)));
    EXPECT_EQ(std::size(rows), taps.count());
    EXPECT_TRUE(program.setUniform(program.getUniformLocation("u_Int"), -7));
    EXPECT_TRUE(program.setUniform(program.getUniformLocation("u_UInt"), 8u));
    EXPECT_EQ(Floats({-7, 8}), Floats({held("u_Int", 1)[0], held("u_UInt", 1)[0]}));
    EXPECT_TRUE(program.setUniform(-1, 1) && program.setUniform(-1, 1u)) << "these test no location";
}

TEST_F(ShaderProgramUniformTest, AListIsSentInOneCallOfWhichTheCountIsItsSize)
{
    const QStringList types = {"float", "vec2",  "vec3", "vec4",  "int",   "ivec2",
                               "ivec3", "ivec4", "uint", "uvec2", "uvec3", "uvec4"};
    QString declarations;
    QString sum;
    for (const QString &type : types) {
        declarations += QString("uniform %1 u_%1[5];\n").arg(type);
        sum += QString(" + float(u_%1[i] == %1(0))").arg(type);
    }
    ASSERT_TRUE(link("#version 150\nuniform int i;\n" + declarations + "void main() { gl_Position = vec4(0.0"
                     + sum + "); }"));
    UniformTaps taps;
    const auto expectTuples = [&](auto zero, const QString &name, int tupleSize) {
        using Values = QVector<decltype(zero)>;
        const Values nines(5 * tupleSize, 9);
        Values values(2 * tupleSize);
        std::iota(values.begin(), values.end(), 1);
        Floats expected(nines.begin(), nines.end());
        // GL reads on where the list ends; nothing foreign is there.
        const auto end = std::copy(values.begin(), values.end(), expected.begin());
        std::fill(end, expected.begin() + std::min(2 * tupleSize, 5) * tupleSize, 0.0F);
        const int location = program.getUniformLocation(name);
        EXPECT_TRUE(program.setUniform(name, nines, tupleSize));
        EXPECT_TRUE(program.setUniform(location, values, tupleSize));
        EXPECT_EQ(2u, taps.count());
        for (int size : {-1, 0, 5}) {
            EXPECT_TRUE(program.setUniform(location, values, size)); // no such tuples
        }
        EXPECT_FALSE(program.setUniform(-1, values, tupleSize)
                     || program.setUniform("missing", values, tupleSize));
        EXPECT_EQ(2u, taps.count());
        taps.clear();
        Floats actual;
        for (int i = 0; i < 5; ++i) {
            const Floats element = held(QString("%1[%2]").arg(name).arg(i), size_t(tupleSize));
            actual.insert(actual.end(), element.begin(), element.end());
        }
        EXPECT_EQ(expected, actual) << name.toStdString();
    };
    for (int i = 0; i < 4; ++i) {
        expectTuples(0.0F, "u_" + types[i], i + 1);
        expectTuples(0, "u_" + types[i + 4], i + 1);
        expectTuples(0u, "u_" + types[i + 8], i + 1);
    }
    // Without a size of the tuples they are single floats.
    EXPECT_TRUE(program.setUniform("u_float", QVector<float>{3, 4}));
    EXPECT_EQ(Floats{4}, held("u_float[1]", 1));
    EXPECT_FALSE(program.setUniform(-1, QVector<float>{1})
                 || program.setUniform("missing", QVector<float>{1}));
}

TEST_F(ShaderProgramUniformTest, TheSummaryAddsTheUniformsUpByType)
{
    ASSERT_TRUE(link(kUniforms));
    program.summaryUniforms();
    const auto start = QString::asprintf("debug [ShaderProgram.cpp:#] %p ", static_cast<void *>(&program));
    QStringList expected;
    for (const GLenum type :
         {GL_INT, GL_UNSIGNED_INT, GL_FLOAT, GL_FLOAT_VEC2, GL_FLOAT_VEC3, GL_FLOAT_VEC4, GL_BOOL,
          GL_FLOAT_MAT2, GL_FLOAT_MAT3, GL_FLOAT_MAT4, GL_SAMPLER_2D, GL_SAMPLER_CUBE, GL_FLOAT_MAT4x2}) {
        expected += start + QString::asprintf("Type 0x%04X : %d", type, type == GL_SAMPLER_2D ? 2 : 1);
    }
    EXPECT_EQ(expected << start + "Texture Samplers 3", _capture.takeTexts());
}

TEST(SamplerTypeTest, FortyTypesAreSamplers)
{
    const std::pair<unsigned int, unsigned int> ranges[] = {
        {0x8B5D, 0x8B64}, {0x8DC0, 0x8DC5}, {0x8DC9, 0x8DD8}, {0x900C, 0x900F}, {0x9108, 0x910D}};
    for (unsigned int type = 0; type < 0x10000; ++type) {
        const bool isSampler = std::any_of(std::begin(ranges), std::end(ranges), [type](const auto &range) {
            return type >= range.first && type <= range.second;
        });
        EXPECT_EQ(isSampler, isSamplerType(type)) << type;
    }
}
