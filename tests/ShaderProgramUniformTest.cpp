// The queries of a linked program, and the values of its uniforms.

#include "support/FakeLimits.h"
#include "support/FakeLoader.h"
#include "support/GLFixture.h"
#include "support/Tap.h"

#include <ZelGL/RangedValues.h>
#include <ZelGL/ShaderProgram.h>

#include <QtCore/QPointF>
#include <QtGui/QColor>
#include <QtGui/QGenericMatrix>
#include <QtGui/QImage>
#include <QtGui/QMatrix4x4>
#include <QtGui/QOpenGLFunctions_3_2_Core>
#include <QtGui/QVector2D>
#include <QtGui/QVector3D>
#include <QtGui/QVector4D>

using namespace Orvane::Zel;

namespace {

/// One uniform of each type that the tests set. The shader reads all of them, so that all stay active.
const QString kUniforms = R"(#version 150
uniform int u_Int; uniform uint u_UInt; uniform bool u_Bool; uniform float u_Float;
uniform vec2 u_Vec2; uniform vec3 u_Vec3; uniform vec4 u_Vec4;
uniform mat4 u_Mat4; uniform mat3 u_Mat3; uniform mat2 u_Mat2; uniform mat4x2 u_Mat4x2;
uniform float u_Floats[3]; uniform vec3 u_Vec3s[4]; uniform ivec2 u_IVec2s[3]; uniform uvec4 u_UVec4s[2];
uniform sampler2D u_Samplers[2]; uniform samplerCube u_Cube;
void main()
{
    vec4 sum = vec4(u_Int + int(u_UInt) + int(u_Bool)) + u_Float + u_Vec2.xyxy;
    sum += u_Vec3.xyzx + u_Vec4 + u_Mat4 * u_Vec4 + (u_Mat3 * u_Vec3).xyzx;
    sum += (u_Mat2 * u_Vec2).xyxy + (u_Mat4x2 * u_Vec4).xyxy + vec4(u_UVec4s[0] + u_UVec4s[1]);
    for (int i = 0; i < 4; ++i) { sum += u_Vec3s[i].xyzx; }
    for (int i = 0; i < 3; ++i) { sum += vec4(u_IVec2s[i].xyxy) + u_Floats[i]; }
    sum += textureLod(u_Samplers[0], sum.xy, 0.0) + textureLod(u_Samplers[1], sum.xy, 0.0);
    gl_Position = sum + textureLod(u_Cube, sum.xyz, 0.0);
})";

const QString kBlocks =
    "#version 150\n"
    "layout (std140) uniform First { vec4 first; };\n"
    "layout (std140) uniform Second { vec4 second; };\n"
    "in vec4 va_Vertex;\n"
    "in vec2 va_TexCoord;\n"
    "void main() { gl_Position = va_Vertex + va_TexCoord.xyxy + first + second + vec4(gl_VertexID\n"
    "    + gl_InstanceID); }";

const QString kStorage = "#version 430\n"
                         "layout (std430) buffer Numbers { vec4 numbers[]; };\n"
                         "layout (std430) buffer Others { vec4 others[]; };\n"
                         "void main() { gl_Position = numbers[0] + others[0]; }";

const QString kLong(1024, 'n'); // the longest name that GLSL has

using StorageBinding = PFNGLSHADERSTORAGEBLOCKBINDINGPROC;

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
         &glUniformMatrix3fv, &glUniformMatrix4fv, &glUniformMatrix4x2fv, &glUniformBlockBinding>;

class ShaderProgramUniformTest : public GLTest
{
protected:
    /// Leaves the program bound.
    bool link(const QString &source)
    {
        program.addShader(GL_VERTEX_SHADER, source, QString());
        return program.link() && program.bind();
    }

    ~ShaderProgramUniformTest() override { program.unbind(); }

    /// The value of a uniform, or of one element of an array, in GL, as floats.
    std::vector<float> held(const QString &name, size_t components)
    {
        std::vector<float> values(components);
        const GLint location =
            driver()->glGetUniformLocation(program.shaderProgramID(), name.toLatin1().constData());
        EXPECT_GE(location, 0) << qPrintable(name);
        driver()->glGetUniformfv(program.shaderProgramID(), location, values.data());
        return values;
    }

    StorageLoader loader;
    ShaderProgram program{nullptr};
};

const AssertionsOf asserted("ShaderProgram.cpp");

using Floats = std::vector<float>;

} // namespace

TEST_F(ShaderProgramUniformTest, AttributesAreKnownByNameAndBuiltInsAreNot)
{
    EXPECT_EQ(-1, program.getVertexAttributeLocation("va_Vertex"));
    program.cacheVertexAttributes(); // without a program: nothing
    ASSERT_TRUE(link(QString(kBlocks).replace("va_TexCoord", kLong)));
    QStringList names = program.getVertexAttributeNames();
    names.sort();
    EXPECT_EQ((QStringList{kLong, "va_Vertex"}), names);
    for (const QString &name : names) {
        EXPECT_EQ(driver()->glGetAttribLocation(program.shaderProgramID(), qPrintable(name)),
                  program.getVertexAttributeLocation(name));
    }
    EXPECT_EQ(-1, program.getVertexAttributeLocation("va_Nobody"));
}

TEST_F(ShaderProgramUniformTest, AnIllegalBuiltInAttributeIsReportedAndTheLinkStands)
{
    const QByteArrayList answers =
        QByteArray("gl_VertexID gl_InstanceID gl_BaseInstance gl_BaseInstanceARB gl_Vertex "
                   "gl_VertexIDARB gl va_Vertex")
            .split(' ');
    int next = 0;
    const FakeAnswers<&glGetProgramiv> counts(GL_ACTIVE_ATTRIBUTES, answers.size());
    Hook<&glGetActiveAttrib> attributes;
    attributes.replace([&](GLuint, GLuint, GLsizei size, GLsizei *, GLint *, GLenum *, GLchar *name) {
        EXPECT_EQ(200, size);
        qstrcpy(name, answers.at(next++).constData());
    });
    Tap<&glGetAttribLocation> locations;
    locations.replace([](GLuint, const GLchar *) { return 5; });
    EXPECT_TRUE(link(kBlocks));
    const QString illegal = asserted("false", "[ !! ] Shader Contains GL attribute '%1'. This is illigal");
    EXPECT_MESSAGES(illegal.arg("gl_Vertex"), illegal.arg("gl_VertexIDARB"));
    EXPECT_EQ(size_t(answers.size()), locations.count());
    EXPECT_EQ((QHash<QString, int>{{"gl", 5}, {"va_Vertex", 5}}),
              program.getVertexAttributeNameLocationMap());
}

TEST_F(ShaderProgramUniformTest, EachLocationIsAskedOnceForTheLifeOfTheObject)
{
    Tap<&glGetUniformLocation> questions;
    ASSERT_TRUE(link(kUniforms));
    EXPECT_EQ(1u, questions.count()) << "the draw ID";
    EXPECT_EQ(-1, program.getUniformLocationNameID());
    const int location = program.getUniformLocation("u_Float");
    EXPECT_EQ(location, program.getUniformLocation("u_Float"));
    EXPECT_TRUE(program.hasUniform("u_Float"));
    EXPECT_FALSE(program.hasUniform("u_Nobody"));
    EXPECT_EQ(-1, program.getUniformLocation("u_Nobody"));
    EXPECT_EQ(3u, questions.count());
    program.clear();
    ASSERT_TRUE(link(kBlocks));
    EXPECT_EQ(location, program.getUniformLocation("u_Float")) << "kept, though another source is linked";
    EXPECT_EQ(3u, questions.count());
}

TEST_F(ShaderProgramUniformTest, ABlockBindingReachesGLWhenItChangesOrHasNoBlock)
{
    program.cacheUniformBlockIndices(); // without a program: nothing
    ASSERT_TRUE(link(QString(kBlocks).replace("First", kLong)));
    const GLuint name = program.shaderProgramID();
    const GLuint first = program.getUniformBlockIndex(kLong);
    const GLuint second = program.getUniformBlockIndex("Second");
    EXPECT_EQ(driver()->glGetUniformBlockIndex(name, qPrintable(kLong)), first);
    EXPECT_EQ(driver()->glGetUniformBlockIndex(name, "Second"), second);
    EXPECT_EQ(GL_INVALID_INDEX, program.getUniformBlockIndex("Nobody"));
    EXPECT_EQ(0u, program.getUniformBlockBinding(second));

    Tap<&glUniformBlockBinding> bindings;
    program.setUniformBlockBinding(second, 0);
    EXPECT_EQ(0u, bindings.count());
    program.setUniformBlockBinding(second, 3);
    program.setTypeBlockBinding(GL_UNIFORM_BUFFER, second, 3);
    program.setTypeBlockBinding(GL_ARRAY_BUFFER, second, 3); // any type but a storage buffer
    EXPECT_EQ(1u, bindings.count());
    EXPECT_EQ(std::make_tuple(name, second, 3u), bindings.calls().back());
    EXPECT_EQ(3u, program.getUniformBlockBinding(second));
    EXPECT_EQ(3u, program.getTypeBlockBinding(GL_UNIFORM_BUFFER, second));
    EXPECT_EQ(0u, program.getUniformBlockBinding(first));
    EXPECT_EQ(second, program.getTypeBlockIndex(GL_UNIFORM_BUFFER, "Second"));
    EXPECT_EQ(GL_INVALID_INDEX, program.getTypeBlockIndex(GL_SHADER_STORAGE_BUFFER, "Second"));

    // A block that does not exist is reported, and GL is called anyway.
    bindings.replace([](GLuint, GLuint, GLuint) {});
    program.setUniformBlockBinding(77, 1);
    program.getUniformBlockBinding(77);
    program.getStorageBlockBinding(78);
    const auto report = [name](const QString &kind, const QString &question) {
        return asserted(QString("itFind != this->_%1BlockBindingIndices.end()").arg(kind),
                        QString("Trying to %1 on shader %2. Does not exist.").arg(question).arg(name));
    };
    EXPECT_MESSAGES(report("uniform", "set uniformBlockIndex 77"),
                    report("uniform", "get uniformBlockIndex 77"),
                    report("storage", "get storageBlockIndex 78"));
    EXPECT_EQ(std::make_tuple(name, 77u, 1u), bindings.calls().back());
}

TEST_F(ShaderProgramUniformTest, StorageBlocksAreKeptApart)
{
    ZEL_NEEDS_EXTENSION("GL_ARB_shader_storage_buffer_object");
    ASSERT_TRUE(link(QString(kStorage).replace("Numbers", kLong)));
    const GLuint index = program.getStorageBlockIndex("Others");
    ASSERT_NE(GL_INVALID_INDEX, index);
    EXPECT_NE(index, program.getStorageBlockIndex(kLong));
    EXPECT_NE(GL_INVALID_INDEX, program.getStorageBlockIndex(kLong));
    EXPECT_EQ(index, program.getTypeBlockIndex(GL_SHADER_STORAGE_BUFFER, "Others"));
    EXPECT_EQ(GL_INVALID_INDEX, program.getStorageBlockIndex("Nobody"));
    EXPECT_EQ(GL_INVALID_INDEX, program.getUniformBlockIndex("Others"));
    EXPECT_EQ(0u, program.getTypeBlockBinding(GL_SHADER_STORAGE_BUFFER, index));
    program.setStorageBlockBinding(index, 0);
    program.setTypeBlockBinding(GL_SHADER_STORAGE_BUFFER, index, 2);
    program.setStorageBlockBinding(index, 2);
    EXPECT_EQ(2u, program.getStorageBlockBinding(index));
    EXPECT_EQ((decltype(Recorded<StorageBinding>::calls){{program.shaderProgramID(), index, 2}}),
              Recorded<StorageBinding>::calls);
}

TEST_F(ShaderProgramUniformTest, AVariantSetsTheUniformByTheTypeThatItHolds)
{
    ASSERT_TRUE(link(kUniforms));
    const QMatrix4x4 matrix(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16);
    const float rows3[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    const float rows2[] = {1, 2, 3, 4};
    const float rows4x2[] = {1, 2, 3, 4, 5, 6, 7, 8};
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
        {"u_Mat4", matrix, {1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15, 4, 8, 12, 16}},
        {"u_Mat3", QVariant::fromValue(QMatrix3x3(rows3)), {1, 4, 7, 2, 5, 8, 3, 6, 9}},
        {"u_Mat2", QVariant::fromValue(QMatrix2x2(rows2)), {1, 3, 2, 4}},
        {"u_Mat4x2", QVariant::fromValue(QMatrix4x2(rows4x2)), {1, 5, 2, 6, 3, 7, 4, 8}},
    };
    for (const auto &row : rows) {
        const UniformTaps taps;
        EXPECT_TRUE(program.setUniform(row.name, row.value));
        EXPECT_EQ(row.expected, held(row.name, row.expected.size()))
            << row.name << ' ' << row.value.typeName();
        EXPECT_EQ(1u, taps.count()) << row.name;
    }
}

TEST_F(ShaderProgramUniformTest, AnUnknownTypeIsReportedAndAnUnknownNameIsQuiet)
{
    ASSERT_TRUE(link(kUniforms));
    const UniformTaps taps;
    const int location = program.getUniformLocation("u_Float");
    EXPECT_TRUE(program.setUniform(location, QVariant(QString("x"))));
    EXPECT_TRUE(program.setUniform("u_Float", QVariant(QPointF())));
    EXPECT_TRUE(program.setUniform(location, QVariant()));
    const QString report =
        "critical [ShaderProgram.cpp:#] ZelShaderProgram::setUniform is not implemented for type : ";
    EXPECT_MESSAGES(report + "QString", report + "QPointF", report);

    EXPECT_FALSE(program.setUniform("missing", QVariant(1)));
    EXPECT_FALSE(program.setUniform("missing", QVector<float>{1}));
    EXPECT_FALSE(program.setUniform("missing", QVector<float>{1}, 1));
    EXPECT_FALSE(program.setUniform("missing", QVector<int>{1}, 1));
    EXPECT_FALSE(program.setUniform("missing", QVector<unsigned int>{1}, 1));
    EXPECT_FALSE(program.setUniform(-1, QVector<float>{1}));
    EXPECT_FALSE(program.setUniform(-1, QVector<float>{1}, 5));
    EXPECT_EQ(0u, taps.count());
    EXPECT_TRUE(program.setUniform(-1, 1)) << "these two test no location";
    EXPECT_TRUE(program.setUniform(-1, 1u));
    EXPECT_EQ(2u, taps.count());
}

TEST_F(ShaderProgramUniformTest, NumbersAndListsGoToGLInOneCallEachOfWhichTheCountIsTheSizeOfTheList)
{
    ASSERT_TRUE(link(kUniforms));
    const UniformTaps taps;
    EXPECT_TRUE(program.setUniform(program.getUniformLocation("u_Int"), -7));
    EXPECT_TRUE(program.setUniform(program.getUniformLocation("u_UInt"), 8u));
    EXPECT_TRUE(program.setUniform("u_Floats", QVector<float>{1, 2}));
    EXPECT_TRUE(program.setUniform("u_Floats", QVector<float>{3, 4, 5}, 1));
    const int location = program.getUniformLocation("u_Vec3s");
    EXPECT_TRUE(program.setUniform(location, QVector<float>{9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9}, 3));
    EXPECT_TRUE(program.setUniform(location, QVector<float>{1, 2, 3, 4, 5, 6}, 3));
    EXPECT_EQ(6, taps.of<&glUniform3fv>().last<1>());
    EXPECT_TRUE(program.setUniform("u_IVec2s", QVector<int>{1, 2, 3, 4, 5, 6}, 2));
    EXPECT_TRUE(program.setUniform("u_UVec4s", QVector<unsigned int>{1, 2, 3, 4, 5, 6, 7, 8}, 4));
    EXPECT_EQ(8u, taps.count());
    EXPECT_TRUE(program.setUniform(location, QVector<float>{1}, 5));
    EXPECT_TRUE(program.setUniform(location, QVector<int>{1}, 0));
    EXPECT_TRUE(program.setUniform(location, QVector<unsigned int>{1}, -1));
    EXPECT_EQ(8u, taps.count()) << "no such tuples";

    EXPECT_EQ(Floats{-7}, held("u_Int", 1));
    EXPECT_EQ(Floats{8}, held("u_UInt", 1));
    EXPECT_EQ(Floats{5}, held("u_Floats[2]", 1));
    EXPECT_EQ((Floats{4, 5, 6}), held("u_Vec3s[1]", 3));
    EXPECT_EQ((Floats{0, 0, 0}), held("u_Vec3s[3]", 3)) << "GL reads on; nothing foreign is there";
    EXPECT_EQ((Floats{5, 6}), held("u_IVec2s[2]", 2));
    EXPECT_EQ((Floats{5, 6, 7, 8}), held("u_UVec4s[1]", 4));
}

TEST_F(ShaderProgramUniformTest, EveryTupleSizeHasItsOwnCall)
{
    UniformTaps taps;
    taps.hold();
    const auto expectCall = [&](auto &tap, auto value, int tupleSize) {
        taps.clear();
        program.setUniform(1, QVector<decltype(value)>{value, value}, tupleSize);
        EXPECT_EQ(1u, tap.count()) << tupleSize;
        EXPECT_EQ(1u, taps.count()) << tupleSize;
    };
    expectCall(taps.of<&glUniform2fv>(), 1.0f, 2);
    expectCall(taps.of<&glUniform4fv>(), 1.0f, 4);
    expectCall(taps.of<&glUniform1iv>(), 1, 1);
    expectCall(taps.of<&glUniform3iv>(), 1, 3);
    expectCall(taps.of<&glUniform4iv>(), 1, 4);
    expectCall(taps.of<&glUniform1uiv>(), 1u, 1);
    expectCall(taps.of<&glUniform2uiv>(), 1u, 2);
    expectCall(taps.of<&glUniform3uiv>(), 1u, 3);
}

TEST_F(ShaderProgramUniformTest, TheSummaryAddsTheUniformsUpByType)
{
    ASSERT_TRUE(link(kUniforms));
    program.summaryUniforms();
    const auto line = [this](GLenum type, int sum) {
        return QString::asprintf("debug [ShaderProgram.cpp:#] %p Type 0x%04X : %d",
                                 static_cast<void *>(&program), type, sum);
    };
    EXPECT_MESSAGES(line(GL_INT, 1), line(GL_UNSIGNED_INT, 1), line(GL_FLOAT, 4), line(GL_FLOAT_VEC2, 1),
                    line(GL_FLOAT_VEC3, 5), line(GL_FLOAT_VEC4, 1), line(GL_INT_VEC2, 3), line(GL_BOOL, 1),
                    line(GL_FLOAT_MAT2, 1), line(GL_FLOAT_MAT3, 1), line(GL_FLOAT_MAT4, 1),
                    line(GL_SAMPLER_2D, 2), line(GL_SAMPLER_CUBE, 1), line(GL_FLOAT_MAT4x2, 1),
                    line(GL_UNSIGNED_INT_VEC4, 2),
                    QString::asprintf("debug [ShaderProgram.cpp:#] %p Texture Samplers 3",
                                      static_cast<void *>(&program)));
}

TEST(SamplerTypeTest, SamplersLieBetweenTypesThatAreNone)
{
    for (const unsigned int type :
         {GL_SAMPLER_1D, GL_SAMPLER_2D_RECT_SHADOW, GL_SAMPLER_1D_ARRAY, GL_INT_SAMPLER_1D,
          GL_UNSIGNED_INT_SAMPLER_BUFFER, 0x900C, 0x900F, 0x9108, 0x910D}) {
        EXPECT_TRUE(isSamplerType(type)) << type;
    }
    int samplers = 0;
    for (unsigned int type = 0; type < 0x10000; ++type) {
        samplers += isSamplerType(type) ? 1 : 0;
    }
    EXPECT_EQ(40, samplers);
    EXPECT_FALSE(isSamplerType(GL_FLOAT_MAT4));
    EXPECT_FALSE(isSamplerType(GL_UNSIGNED_INT_VEC2));
}
