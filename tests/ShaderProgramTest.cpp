#include "support/FakeLimits.h"
#include "support/FakeLoader.h"
#include "support/Files.h"
#include "support/GLFixture.h"
#include "support/Tap.h"

#include <ZelGL/ZelGL.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>
#include <QtGui/QColor>
#include <QtGui/QGenericMatrix>
#include <QtGui/QImage>
#include <QtGui/QMatrix4x4>
#include <QtGui/QOpenGLFunctions_3_2_Core>
#include <QtGui/QVector2D>
#include <QtGui/QVector3D>
#include <QtGui/QVector4D>

#include <ctime>
#include <dlfcn.h>
#include <numeric>

using namespace Orvane::Zel;

namespace {

long fakeSeconds = 0; ///< the time of all clocks of this process while it is not 0

const QString kVertex =
    "#version 150\nin vec4 va_Vertex; uniform float u_Scale; out float vo_A; out vec2 vo_B;\n"
    "void main() { gl_Position = va_Vertex * u_Scale; vo_A = 1.0; vo_B = vec2(2.0); }";
const QString kFragment = "#version 150\nout vec4 out_First; out vec4 out_Second;\n"
                          "void main() { out_First = vec4(1.0); out_Second = vec4(0.5); }";
const QString kUnresolved = "#version 150\nvec4 somewhere();\nvoid main() { gl_Position = somewhere(); }";
const QString kSomewhere = "#version 150\nvec4 somewhere() { return vec4(0.0); }";

/// Adds two valid stages and links them.
void link(ShaderProgram &program)
{
    program.addShader(GL_VERTEX_SHADER, kVertex, QString());
    program.addShader(GL_FRAGMENT_SHADER, kFragment, QString());
    ASSERT_TRUE(program.link());
}

const QString kBlocks = "#version %1\nlayout (std140) %2 %3 { vec4 first; };\n"
                        "layout (std140) %2 Second { vec4 second; };\n"
                        "in vec4 va_Vertex; in vec2 %4; uniform float u_float;\n"
                        "void main() { gl_Position = va_Vertex + %4.xyxy + first + second + u_float\n"
                        "    + vec4(gl_VertexID + gl_InstanceID); }";
const QString kLong(1024, 'n'); // the longest name of GLSL
const QString kLongAttribute(1024, 'a');

using StorageBinding = PFNGLSHADERSTORAGEBLOCKBINDINGPROC;
using Floats = std::vector<float>;

/// Counts every call that sets a uniform.
using UniformTaps =
    Taps<&glUniform1i, &glUniform1ui, &glUniform1f, &glUniform2f, &glUniform3f, &glUniform4f, &glUniform1fv,
         &glUniform2fv, &glUniform3fv, &glUniform4fv, &glUniform1iv, &glUniform2iv, &glUniform3iv,
         &glUniform4iv, &glUniform1uiv, &glUniform2uiv, &glUniform3uiv, &glUniform4uiv, &glUniformMatrix2fv,
         &glUniformMatrix3fv, &glUniformMatrix4fv, &glUniformMatrix4x2fv>;

const AssertionsOf asserted("ShaderProgram.cpp");

/// Has a loader that exists before the first program.
class ShaderProgramTest : public GLTest
{
protected:
    struct Loader : FakeLoader
    {
        Loader() { record<StorageBinding>("glShaderStorageBlockBinding"); }
    } loader;
    ShaderProgram program{nullptr};
};

/// Has a bound program with a uniform "u_vec2" and an array "a_vec2" of five for each type.
class ShaderProgramUniformTest : public ShaderProgramTest
{
protected:
    ShaderProgramUniformTest()
    {
        QString declarations;
        QString sum; // reads all, so that all stay active
        for (const QString &type : _vectors + QStringList{"bool", "mat2", "mat3", "mat4", "mat4x2"}) {
            declarations += QString("uniform %1 u_%1, a_%1[5];\n").arg(type);
            sum += QString(" + float(u_%1 == %1(0)) + float(a_%1[u_int] == %1(0))").arg(type);
        }
        program.addShader(GL_VERTEX_SHADER,
                          "#version 150\nuniform sampler2D u_Samplers[2];\nuniform samplerCube u_Cube;\n"
                              + declarations + "void main() { gl_Position = vec4(0.0" + sum
                              + ") + textureLod(u_Samplers[0], vec2(0.0), 0.0) + textureLod(u_Samplers[1], "
                                "vec2(0.0), 0.0)\n"
                                "+ textureLod(u_Cube, vec3(0.0), 0.0); }",
                          QString());
        EXPECT_TRUE(program.link() && program.bind());
    }
    ~ShaderProgramUniformTest() override { program.unbind(); }

    /// The values of a uniform, or of a whole array, in GL.
    Floats held(const QString &name, int components, int elements = 1)
    {
        Floats values(size_t(components * elements));
        const GLint location = driver()->glGetUniformLocation(program.shaderProgramID(), qPrintable(name));
        EXPECT_GE(location, 0) << qPrintable(name);
        for (int i = 0; i < elements; ++i) {
            driver()->glGetUniformfv(program.shaderProgramID(), location + i,
                                     &values[size_t(i * components)]);
        }
        return values;
    }

    const QStringList _vectors = {"float", "vec2",  "vec3", "vec4",  "int",   "ivec2",
                                  "ivec3", "ivec4", "uint", "uvec2", "uvec3", "uvec4"};
    UniformTaps _taps;
};

} // namespace

/// Replaces the clock, so that a test of a timeout does not wait for it.
extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec *time) noexcept
{
    static const auto real =
        reinterpret_cast<int (*)(clockid_t, timespec *)>(dlsym(RTLD_NEXT, "clock_gettime"));
    *time = {fakeSeconds, 0};
    return fakeSeconds != 0 ? 0 : real(clock, time);
}

TEST_F(ShaderProgramTest, AProgramIsLinkedOnceUntilItIsClearedOrCompiledAgain)
{
    EXPECT_FALSE(program.isLinked() || program.validate() || program.bind());
    EXPECT_MESSAGES("warning [ShaderProgram.cpp:#] Shader program is not linked");
    EXPECT_EQ(nullptr, ShaderProgram::currentShaderProgram());

    Tap<&glAttachShader> attaches;
    Tap<&glGetProgramiv> queries;
    program.addShader(GL_VERTEX_SHADER, kVertex, QString());
    program.addShader(GL_FRAGMENT_SHADER, kFragment, QString());
    EXPECT_TRUE(program.linkPre());
    EXPECT_EQ(0u, queries.count()) << "the first half does not wait for the driver";
    EXPECT_TRUE(program.linkPreWait() && program.linkPost());
    const GLuint name = program.shaderProgramID();
    program.addShader(GL_VERTEX_SHADER, kSomewhere, QString());
    EXPECT_TRUE(program.link() && program.validate());
    EXPECT_EQ(name, program.shaderProgramID());
    EXPECT_EQ(2u, attaches.count());

    program.clear();
    EXPECT_FALSE(program.isLinked());
    EXPECT_EQ(0, ledger().alive());
    link(program);
    EXPECT_EQ(4u, attaches.count());
    const GLuint forgotten = program.shaderProgramID();
    EXPECT_TRUE(program.compile());
    EXPECT_FALSE(program.isLinked());
    EXPECT_EQ(1, ledger().alive(GLLedger::eProgram)) << "forgotten, and not deleted";
    EXPECT_TRUE(program.link());
    glDeleteProgram(forgotten);
}

TEST_F(ShaderProgramTest, EachContextKnowsItsBoundProgramUntilAnyProgramIsUnbound)
{
    ShaderProgram second(nullptr);
    link(program);
    link(second);
    EXPECT_TRUE(second.bind() && program.bind() && program.bind()) << "a program may be bound again";
    EXPECT_EQ(&program, ShaderProgram::currentShaderProgram());
    EXPECT_EQ(GLint(program.shaderProgramID()), integerOf(GL_CURRENT_PROGRAM));
    {
        const auto other = TestContext::create();
        ASSERT_NE(nullptr, other);
        EXPECT_EQ(nullptr, ShaderProgram::currentShaderProgram());
        ShaderProgram theirs(nullptr);
        link(theirs);
        ASSERT_TRUE(theirs.bind());
        makeCurrent();
        EXPECT_EQ(&program, ShaderProgram::currentShaderProgram());
        ASSERT_TRUE(other->makeCurrent());
        EXPECT_EQ(&theirs, ShaderProgram::currentShaderProgram());
        theirs.unbind();
    }
    makeCurrent();
    EXPECT_EQ(&program, gCurrentlyBoundShaderPrograms.value(GLContextTracker::currentContext()));
    EXPECT_TRUE(second.unbind() && second.unbind()) << "not the one that is bound";
    EXPECT_TRUE(gCurrentlyBoundShaderPrograms.isEmpty());
}

TEST_F(ShaderProgramTest, ADriverThatNeverFinishesIsGivenUpAfterFiveSeconds)
{
    link(program);
    Tap<&glGetProgramiv> polls;
    polls.replace([](GLuint, GLenum, GLint *value) {
        *value = 0;
        ++fakeSeconds;
    });
    fakeSeconds = 1;
    EXPECT_TRUE(program.linkPreWait());
    fakeSeconds = 0;
    if (!hasGLExtension("GL_ARB_parallel_shader_compile")) {
        EXPECT_EQ(0u, polls.count());
        return;
    }
    EXPECT_EQ(5u, polls.count());
    EXPECT_EQ(std::make_tuple(program.shaderProgramID(), GLenum(0x91B1)),
              std::make_tuple(polls.last<0>(), polls.last<1>()));
    const QString sleep = QString::asprintf("debug %p Sleep 0x00", static_cast<void *>(&program));
    EXPECT_MESSAGES(sleep, sleep, sleep, sleep,
                    QString::asprintf("debug %p TIMEOUT 0x00", static_cast<void *>(&program)));
    polls.replace([](GLuint, GLenum, GLint *) {});
    EXPECT_TRUE(program.linkPreWait());
    EXPECT_EQ(6u, polls.count()) << "a driver that writes no result counts as finished";
}

TEST_F(ShaderProgramTest, AFailureReportsTheLogAndLeavesTheStages)
{
    Tap<&glDeleteProgram> deletes;
    Tap<&glAttachShader> attaches;
    program.addShader(GL_VERTEX_SHADER, kUnresolved, QString());
    EXPECT_FALSE(program.link() || program.isLinked());
    EXPECT_FALSE(program.log().isEmpty());
    const QString dump = "Program %1\nShader 0x8b31 %2\n   1 : #version 150\n   2 : \n"
                         "   3 : vec4 somewhere();\n   4 : void main() { gl_Position = somewhere(); }\n";
    EXPECT_TRUE(takeMessages(warningLines("Failed to link GL shader\n =======Log=========\n" + program.log()
                                          + '\n' + dump.arg(deletes.last<0>()).arg(attaches.last<1>()))));
    program.addShader(GL_VERTEX_SHADER, kSomewhere, QString());
    EXPECT_TRUE(program.link());
    {
        Hook<&glGetProgramInfoLog> logs;
        logs.replace([](GLuint, GLsizei size, GLsizei *, GLchar *log) { qstrncpy(log, "a\nb", uint(size)); });
        const FakeAnswers<&glGetProgramiv> answers({{GL_LINK_STATUS, 0}, {GL_INFO_LOG_LENGTH, 4}});
        EXPECT_FALSE(program.validate());
    }
    EXPECT_EQ("a\nb", program.log());
    EXPECT_MESSAGES("warning Failed to validate GL shader========= Log =========", "warning a", "warning b");

    program.clear();
    program.addShader(GL_VERTEX_SHADER, "nonsense", QString());
    EXPECT_FALSE(program.linkPre() || program.isLinked());
    EXPECT_EQ(0, ledger().alive());
    const QStringList failure = _capture.takeTexts();
    EXPECT_EQ("warning Failed to compile GL shader", failure.value(0));
    EXPECT_TRUE(failure.last().endsWith(program.log().section('\n', -1)) && program.log() != "a\nb");
    EXPECT_FALSE(program.compile());
    EXPECT_EQ(failure, _capture.takeTexts());
    TestContext::takeDriverReports(); // the driver reports the errors too
}

TEST_F(ShaderProgramTest, StagesComeFromTheWorkingFolderBeforeTheBuiltInTreeAndAreDumped)
{
    const QTemporaryDir folder;
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(folder.path()));
    GLSLMacroProcessor processor;
    processor.addDefine("A", "1");
    writeFile("passthroughVS.glslc", "#version 150\nvoid main() {}\n// mine");
    program.addShaderFromFile(GL_VERTEX_SHADER, "passthroughVS.glslc");
    program.setMacroProcessor(&processor);
    program.addShader(GL_FRAGMENT_SHADER, kFragment, "defined");
    for (const GLenum stage :
         {GL_GEOMETRY_SHADER, GL_TESS_EVALUATION_SHADER, GL_TESS_CONTROL_SHADER, GL_COMPUTE_SHADER}) {
        program.addShader(int(stage), QString::number(stage), QString());
    }
    program.dumpShaderSources("mine-%1");
    ASSERT_TRUE(QFile::remove("passthroughVS.glslc"));
    program.clear();
    program.addShaderFromFile(GL_VERTEX_SHADER, "passthroughVS.glslc");
    program.addShaderFromFile(GL_FRAGMENT_SHADER, "no such file %s");
    EXPECT_MESSAGES("warning [ShaderProgram.cpp:#] Couldn't find shader source file 'no such file %s'");
    program.dumpShaderSources("built-in-%1");
    EXPECT_TRUE(program.link());
    const QMap<QString, QByteArray> files = {
        {"built-in-VS", "vo_TexCoord = va_TexCoord;"},
        {"defined", "#define A 1\n"},
        {"mine-", "37305"},
        {"mine-FS", "#define A 1\n"},
        {"mine-GS", "36313"},
        {"mine-TCS", "36488"},
        {"mine-TES", "36487"},
        {"mine-VS", "#version 150\n\nvoid main() {}\n// mine"},
    };
    EXPECT_EQ(files.keys(), QDir().entryList(QDir::Files));
    for (const QString &name : files.keys()) {
        EXPECT_TRUE(bytesOf(name).contains(files[name])) << name.toStdString();
    }
    QDir::setCurrent(before);
}

TEST_F(ShaderProgramTest, TheHashCoversTheTextsWhateverTheirOrder)
{
    const auto md5 = [](const QString &text) {
        return QString(QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Md5).toHex());
    };
    QStringList hashes;
    for (QString source : {kVertex, kUnresolved, kSomewhere}) { // of one stage, so that the order matters
        program.addShader(GL_VERTEX_SHADER, source, QString());
        hashes += md5(source.insert(12, '\n'));
    }
    EXPECT_FALSE(std::is_sorted(hashes.begin(), hashes.end()));
    hashes.sort();
    EXPECT_EQ(md5(hashes.join("")), program.constructShaderHash());
    program.clear();
    link(program);
    EXPECT_EQ(md5(md5("") + md5("")), program.constructShaderHash()) << "a link clears the sources";
}

TEST_F(ShaderProgramTest, ABinaryMakesTheSameProgramWithoutStages)
{
    link(program);
    QByteArray binary;
    unsigned int format = 0;
    if (!hasGLExtension("GL_ARB_get_program_binary")) {
        EXPECT_FALSE(program.getProgramBinary(binary, format) || program.loadProgramFromRawData("x", 1));
        return;
    }
    ASSERT_TRUE(program.getProgramBinary(binary, format));
    ShaderProgram restored(nullptr);
    EXPECT_TRUE(restored.loadProgramFromRawData(binary, format));
    EXPECT_EQ(program.getVertexAttributeNameLocationMap(), restored.getVertexAttributeNameLocationMap());
    ShaderProgram refused(nullptr);
    EXPECT_FALSE(refused.loadProgramFromRawData(binary.fill('x'), format) || refused.isLinked());
    const FakeAnswers<&glGetProgramiv> lengths(GL_PROGRAM_BINARY_LENGTH, 0);
    EXPECT_FALSE(program.getProgramBinary(binary, format)) << "the driver has nothing to keep";
}

TEST_F(ShaderProgramTest, OutputsAndVaryingsGetTheirPlacesBeforeTheLink)
{
    const auto placesOf = [&](const char *query, GLuint name) {
        const auto function = reinterpret_cast<PFNGLGETFRAGDATAINDEXPROC>(getGLProcAddress(query, false));
        return std::make_pair(function(name, "out_First"), function(name, "out_Second"));
    };
    program.setFragDataLocations({"out_Second", "out_First"});
    program.setTransformFeedbackVaryings({"vo_B", "vo_A"}, GL_SEPARATE_ATTRIBS);
    link(program);
    EXPECT_EQ(std::make_pair(1, 0), placesOf("glGetFragDataLocation", program.shaderProgramID()));
    GLint mode = 0;
    driver()->glGetProgramiv(program.shaderProgramID(), GL_TRANSFORM_FEEDBACK_BUFFER_MODE, &mode);
    EXPECT_EQ(GL_SEPARATE_ATTRIBS, mode);
    char name[16] = "";
    GLsizei size = 0;
    GLenum type = 0;
    driver()->glGetTransformFeedbackVarying(program.shaderProgramID(), 0, sizeof name, nullptr, &size, &type,
                                            name);
    EXPECT_STREQ("vo_B", name);

    ShaderProgram dual(nullptr); // its outputs are the two sources of colour 0
    dual.setFragDataLocations({"colour"});
    dual.setFragDataIndexs({{"out_First", "out_Second"}, {"unused"}});
    link(dual);
    EXPECT_EQ(std::make_pair(0, 1), placesOf("glGetFragDataIndex", dual.shaderProgramID()));
}

TEST_F(ShaderProgramTest, AttributesAndUniformsAreKnownByName)
{
    program.cacheVertexAttributes(); // without a program: nothing
    program.cacheUniformBlockIndices();
    Tap<&glGetUniformLocation> queries;
    program.addShader(GL_VERTEX_SHADER, kBlocks.arg("150", "uniform", kLong, kLongAttribute), QString());
    ASSERT_TRUE(program.link());
    EXPECT_EQ(1u, queries.count()) << "the draw ID";
    EXPECT_EQ(-1, program.getUniformLocationNameID());
    EXPECT_EQ(2, program.getVertexAttributeNames().size());
    for (const QString &name : QStringList{kLongAttribute, "va_Vertex"}) {
        EXPECT_EQ(driver()->glGetAttribLocation(program.shaderProgramID(), qPrintable(name)),
                  program.getVertexAttributeLocation(name));
    }
    EXPECT_EQ(-1, program.getVertexAttributeLocation("va_Unknown"));
    const int location = program.getUniformLocation("u_float");
    EXPECT_TRUE(program.hasUniform("u_float"));
    EXPECT_FALSE(program.hasUniform("u_Unknown") || program.hasUniform("u_Unknown"));
    program.clear();
    link(program);
    EXPECT_EQ(location, program.getUniformLocation("u_float")) << "kept, though another source is linked";
    EXPECT_EQ(3u, queries.count());
    EXPECT_TRUE(program.hasUniform("u_Scale")) << "0 is a location";
}

TEST_F(ShaderProgramTest, AnIllegalBuiltInAttributeIsReportedAndTheProgramIsLinked)
{
    const QByteArrayList attributes =
        QByteArray("gl_VertexID gl_InstanceID gl_BaseInstancX gl_BaseInstanceARB gl_Vertex "
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
    link(program);
    const QString illegal = asserted("false", "[ !! ] Shader Contains GL attribute '%1'. This is illigal");
    EXPECT_MESSAGES(illegal.arg("gl_Vertex"), illegal.arg("gl_VertexIDARB"));
    EXPECT_EQ(size_t(attributes.size()), locations.count());
    EXPECT_EQ((QHash<QString, int>{{"gl", 5}, {"va_Vertex", 0}}),
              program.getVertexAttributeNameLocationMap());
}

TEST_F(ShaderProgramTest, ABlockBindingReachesGLWhenItChangesOrHasNoBlock)
{
    for (const bool isStorage : {false, true}) {
        ZEL_NEEDS_EXTENSION_IF(isStorage, "GL_ARB_shader_storage_buffer_object");
        program.clear();
        program.addShader(
            GL_VERTEX_SHADER,
            kBlocks.arg(isStorage ? "430" : "150", isStorage ? "buffer" : "uniform", kLong, kLongAttribute),
            QString());
        ASSERT_TRUE(program.link());
        const GLuint name = program.shaderProgramID();
        const unsigned int type = isStorage ? GL_SHADER_STORAGE_BUFFER : GL_ARRAY_BUFFER; // any other type
        const auto [first, second] =
            std::minmax({program.getTypeBlockIndex(type, kLong), program.getTypeBlockIndex(type, "Second")});
        EXPECT_EQ(std::make_pair(0u, 1u), std::make_pair(first, second));
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
        program.setTypeBlockBinding(type, 2, 1);
        program.setTypeBlockBinding(type, 2, 1); // nothing is stored for it
        EXPECT_EQ(0u, program.getTypeBlockBinding(type, 2));
        const QString kind = isStorage ? "storage" : "uniform";
        const QString report = asserted("itFind != this->_" + kind + "BlockBindingIndices.end()",
                                        "Trying to %1 " + kind + "BlockIndex 2 on shader "
                                            + QString::number(name) + ". Does not exist.");
        EXPECT_MESSAGES(report.arg("set"), report.arg("set"), report.arg("get"));
        const std::vector<Tap<&glUniformBlockBinding>::Call> expected = {
            {name, second, 3}, {name, 2, 1}, {name, 2, 1}};
        EXPECT_EQ(expected, isStorage ? Recorded<StorageBinding>::calls : bindings.calls());
    }
}

TEST_F(ShaderProgramUniformTest, AVariantSetsTheUniformByTheTypeThatItHolds)
{
    float count[16];
    std::iota(std::begin(count), std::end(count), 1.0F);
    const struct
    {
        const char *name;
        QVariant value;
        Floats expected;
    } rows[] = {
        {"u_bool", true, {1}},
        {"u_int", -3, {-3}},
        {"u_int", QImage(1, 1, QImage::Format_RGB32), {0}},
        {"u_uint", 4u, {4}},
        {"u_float", 1.5, {1.5}},
        {"u_float", 2.5F, {2.5}},
        {"u_float", QVariant::fromValue(RangedFloat{3.5F, 0.0F, 1.0F}), {3.5}},
        {"u_float", QVariant::fromValue(RangedDouble{4.5, 0.0, 1.0}), {4.5}},
        {"u_vec4", QColor::fromRgbF(1.0, 0.0, 1.0, 0.0), {1, 0, 1, 0}},
        {"u_vec4", QColor(), {0, 0, 0, 1}},
        {"u_vec2", QVector2D(1, 2), {1, 2}},
        {"u_vec3", QVector3D(1, 2, 3), {1, 2, 3}},
        {"u_vec4", QVector4D(1, 2, 3, 4), {1, 2, 3, 4}},
        // GL stores columns.
        {"u_mat4", QMatrix4x4(count), {1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15, 4, 8, 12, 16}},
        {"u_mat3", QVariant::fromValue(QMatrix3x3(count)), {1, 4, 7, 2, 5, 8, 3, 6, 9}},
        {"u_mat2", QVariant::fromValue(QMatrix2x2(count)), {1, 3, 2, 4}},
        {"u_mat4x2", QVariant::fromValue(QMatrix4x2(count)), {1, 5, 2, 6, 3, 7, 4, 8}},
    };
    for (const auto &row : rows) {
        EXPECT_TRUE(program.setUniform(row.name, row.value));
        EXPECT_EQ(row.expected, held(row.name, int(row.expected.size())))
            << row.name << ' ' << row.value.typeName();
    }
    EXPECT_EQ(std::size(rows), _taps.count());
    EXPECT_TRUE(program.setUniform("u_float", QVariant(QString("x"))));
    EXPECT_TRUE(program.setUniform(program.getUniformLocation("u_float"), QVariant()));
    const QString report =
        "critical [ShaderProgram.cpp:#] ZelShaderProgram::setUniform is not implemented for type : ";
    EXPECT_MESSAGES(report + "QString", report);
    EXPECT_FALSE(program.setUniform("missing", QVariant(1)));
    EXPECT_EQ(std::size(rows), _taps.count());
    EXPECT_TRUE(program.setUniform(program.getUniformLocation("u_int"), -7));
    EXPECT_TRUE(program.setUniform(program.getUniformLocation("u_uint"), 8u));
    EXPECT_EQ(Floats({-7, 8}), Floats({held("u_int", 1)[0], held("u_uint", 1)[0]}));
    EXPECT_TRUE(program.setUniform(-1, 1) && program.setUniform(-1, 1u)) << "these test no location";
}

TEST_F(ShaderProgramUniformTest, AListIsSentInOneCallOfWhichTheCountIsItsSize)
{
    const auto expectTuples = [&](auto zero, const QString &name, int tupleSize) {
        const int location = program.getUniformLocation(name);
        const QVector<decltype(zero)> nines(5 * tupleSize, 9);
        QVector<decltype(zero)> values(2 * tupleSize);
        std::iota(values.begin(), values.end(), 1);
        _taps.clear();
        EXPECT_TRUE(program.setUniform(name, nines, tupleSize));
        EXPECT_TRUE(program.setUniform(location, values, tupleSize));
        EXPECT_TRUE(program.setUniform(location, values, 0) && program.setUniform(location, values, 5));
        EXPECT_FALSE(program.setUniform(-1, values, tupleSize)
                     || program.setUniform("missing", values, tupleSize));
        EXPECT_EQ(2u, _taps.count());
        Floats expected(nines.begin(), nines.end());
        std::copy(values.begin(), values.end(), expected.begin());
        // GL takes as many vectors as the list has numbers, and reads on; nothing foreign is there.
        std::fill(expected.begin() + values.size(), expected.begin() + std::min(values.size(), 5) * tupleSize,
                  0.0F);
        EXPECT_EQ(expected, held(name, tupleSize, 5)) << qPrintable(name);
    };
    for (int i = 0; i < 4; ++i) {
        expectTuples(0.0F, "a_" + _vectors[i], i + 1);
        expectTuples(0, "a_" + _vectors[i + 4], i + 1);
        expectTuples(0u, "a_" + _vectors[i + 8], i + 1);
    }
    EXPECT_TRUE(program.setUniform("a_float", QVector<float>{3, 4})); // single floats
    EXPECT_EQ(Floats({3, 4}), held("a_float", 1, 2));
    EXPECT_FALSE(program.setUniform("missing", QVector<float>{1}));
    _taps.clear();
    _taps.hold();
    EXPECT_TRUE(program.setUniform(0, QVector<float>{1}, 4)); // 0 is a location
    EXPECT_EQ(1u, _taps.count());
}

TEST_F(ShaderProgramUniformTest, TheSummaryAddsTheUniformsUpByType)
{
    program.summaryUniforms();
    const auto start = QString::asprintf("debug [ShaderProgram.cpp:#] %p ", static_cast<void *>(&program));
    const QStringList lines = _capture.takeTexts();
    EXPECT_EQ(20, lines.size());
    for (const char *line : {"Type 0x1406 : 6", "Type 0x8B5E : 2", "Type 0x8B60 : 1", "Texture Samplers 3"}) {
        EXPECT_TRUE(lines.contains(start + line)) << line;
    }
}

TEST(SamplerTypeTest, FortyTypesAreSamplers)
{
    QVector<unsigned int> ends; // the first type of each range, and the first one after it
    for (unsigned int type = 1; type < 0x10000; ++type) {
        ends += isSamplerType(type) != isSamplerType(type - 1) ? QVector<unsigned int>{type}
                                                               : QVector<unsigned int>();
    }
    EXPECT_EQ((QVector<unsigned int>{0x8B5D, 0x8B65, 0x8DC0, 0x8DC6, 0x8DC9, 0x8DD9, 0x900C, 0x9010, 0x9108,
                                     0x910E}),
              ends);
}

// The entry points are those of the first program of the process.
using ShaderProgramOwnProcessTest = GLTest;

TEST_F(ShaderProgramOwnProcessTest, MissingOnesAreReportedAndUnused)
{
    ZEL_NEEDS_EXTENSION("GL_ARB_shader_storage_buffer_object");
    FakeLoader loader;
    const QString missing = "debug [GLUtilities.cpp:#] Failed to obtain '%1'";
    QStringList expected;
    for (const QString &name : QStringList{"glGetProgramBinary", "glProgramBinary", "glProgramParameteri",
                                           "glGetProgramInterfaceiv", "glGetProgramResourceName",
                                           "glGetProgramResourceIndex", "glShaderStorageBlockBinding"}) {
        loader.hide(name);
        expected += missing.arg(name);
    }
    {
        const ShaderProgram program(nullptr);
    }
    EXPECT_EQ(expected.mid(hasGLExtension("GL_ARB_get_program_binary") ? 0 : 3), _capture.takeTexts());

    loader.show(); // looked up again, because all were missing
    for (const char *name : {"glProgramBinary", "glGetProgramResourceName", "glShaderStorageBlockBinding",
                             "glBindFragDataLocationIndexed", "glTransformFeedbackVaryings"}) {
        loader.hide(name);
    }
    ShaderProgram program(nullptr);
    _capture.take();
    loader.takeLookUps();
    EXPECT_FALSE(ShaderProgram(nullptr).isProgramBinariesSupported());
    EXPECT_EQ(QStringList(), loader.takeLookUps());
    Tap<&glBindFragDataLocation> plain;
    program.setFragDataLocations({"out_First", "out_Second"});
    program.setFragDataIndexs({{"out_First"}});
    program.setTransformFeedbackVaryings({"vo_A"}, GL_SEPARATE_ATTRIBS);
    program.addShader(GL_VERTEX_SHADER, kBlocks.arg("430", "buffer", "First", "va_Normal"), QString());
    program.addShader(GL_FRAGMENT_SHADER, kFragment, QString());
    EXPECT_TRUE(program.link());
    EXPECT_EQ(2u, plain.count());
    EXPECT_EQ(GL_INVALID_INDEX, program.getStorageBlockIndex("First"));
    program.setStorageBlockBinding(3, 1);
    const QString name = QString::number(program.shaderProgramID());
    EXPECT_MESSAGES(missing.arg("glBindFragDataLocationIndexed"),
                    "debug Trying to setup glBindFragDataLocationIndexed( " + name
                        + ", 0, , ). Func pointer is NULL, falling back to glBindFragDataLocation()\n",
                    missing.arg("glTransformFeedbackVaryings"),
                    asserted("itFind != this->_storageBlockBindingIndices.end()",
                             "Trying to set storageBlockIndex 3 on shader " + name + ". Does not exist."));
}

TEST_F(ShaderProgramOwnProcessTest, TheEmbeddedExtensionForBinariesNeverReportsSupport)
{
    const FakeLimits counts(GL_NUM_EXTENSIONS, 1);
    Hook<&glGetStringi> names;
    names.replace(
        [](GLenum, GLuint) { return reinterpret_cast<const GLubyte *>("GL_OES_get_program_binary"); });
    FakeLoader loader;
    EXPECT_FALSE(ShaderProgram(nullptr).isProgramBinariesSupported());
    EXPECT_EQ(qEnvironmentVariableIsSet("ZEL_NO_GL_EXTENSIONS") ? 0 : 2,
              loader.takeLookUps().filter("BinaryOES").size());
}
