// The build side of a program: stages, link, bind, binary, dumps.

#include "support/FakeLimits.h"
#include "support/FakeLoader.h"
#include "support/Files.h"
#include "support/GLFixture.h"
#include "support/Tap.h"

#include <ZelGL/ZelGL.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>
#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <ctime>
#include <dlfcn.h>

using namespace Orvane::Zel;

namespace {

long fakeSeconds = 0; ///< added to the clocks of this process

const QString kVertex = "#version 150\n"
                        "in vec4 va_Vertex;\n"
                        "uniform float u_Scale;\n"
                        "out float vo_A;\n"
                        "out vec2 vo_B;\n"
                        "void main() { gl_Position = va_Vertex * u_Scale; vo_A = 1.0; vo_B = vec2(2.0); }";
const QString kFragment = "#version 150\n"
                          "out vec4 out_First;\n"
                          "out vec4 out_Second;\n"
                          "void main() { out_First = vec4(1.0); out_Second = vec4(0.5); }";
const QString kUnresolved = "#version 150\n"
                            "vec4 somewhere();\n"
                            "void main() { gl_Position = somewhere(); }";
const QString kSomewhere = "#version 150\n"
                           "vec4 somewhere() { return vec4(0.0); }";

/// Adds two valid stages and links them.
void link(ShaderProgram &program)
{
    program.addShader(GL_VERTEX_SHADER, kVertex, QString());
    program.addShader(GL_FRAGMENT_SHADER, kFragment, QString());
    ASSERT_TRUE(program.link());
}

class ShaderProgramTest : public GLTest
{
protected:
    ShaderProgram program{nullptr};
};

} // namespace

/// Replaces the clock, so that a test of a timeout does not wait for it.
extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec *time) noexcept
{
    static const auto real =
        reinterpret_cast<int (*)(clockid_t, timespec *)>(dlsym(RTLD_NEXT, "clock_gettime"));
    const int result = real(clock, time);
    time->tv_sec += fakeSeconds;
    return result;
}

TEST_F(ShaderProgramTest, AProgramIsLinkedOnceUntilItIsClearedOrCompiledAgain)
{
    Tap<&glUseProgram> uses;
    EXPECT_FALSE(program.isLinked() || program.validate() || program.bind());
    EXPECT_MESSAGES("warning [ShaderProgram.cpp:#] Shader program is not linked");
    EXPECT_EQ(0u, uses.count());
    EXPECT_EQ(nullptr, ShaderProgram::currentShaderProgram());

    Tap<&glCreateProgram> creates;
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
    EXPECT_EQ(3u, creates.count());
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
    EXPECT_TRUE(second.unbind()) << "not the one that is bound";
    EXPECT_TRUE(gCurrentlyBoundShaderPrograms.isEmpty());
    EXPECT_EQ(0, integerOf(GL_CURRENT_PROGRAM));
    EXPECT_TRUE(second.unbind());
}

TEST_F(ShaderProgramTest, HostsOverrideTheTwoHalves)
{
    struct Host : ShaderProgram
    {
        using ShaderProgram::ShaderProgram;
        bool linkPre() override { return ++firstHalves == 1; }
        bool linkPost() override { return ++secondHalves == 1; }
        int firstHalves = 0;
        int secondHalves = 0;
    } host(nullptr);
    EXPECT_TRUE(host.link());
    EXPECT_FALSE(host.link());
    EXPECT_EQ(2, host.firstHalves);
    EXPECT_EQ(1, host.secondHalves) << "not after a failed first";
}

TEST_F(ShaderProgramTest, ADriverThatNeverFinishesIsGivenUpAfterFiveSeconds)
{
    link(program);
    Tap<&glGetProgramiv> polls;
    polls.replace([](GLuint, GLenum, GLint *value) {
        *value = 0;
        ++fakeSeconds;
    });
    EXPECT_TRUE(program.linkPreWait());
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
    EXPECT_TRUE(takeMessages(warningLines(QString("Failed to link GL shader\n =======Log=========\n%1\n"
                                                  "Program %2\nShader 0x8b31 %3\n"
                                                  "   1 : #version 150\n"
                                                  "   2 : \n"
                                                  "   3 : vec4 somewhere();\n"
                                                  "   4 : void main() { gl_Position = somewhere(); }\n")
                                              .arg(program.log())
                                              .arg(deletes.last<0>())
                                              .arg(attaches.last<1>()))));
    program.addShader(GL_VERTEX_SHADER, kSomewhere, QString());
    EXPECT_TRUE(program.link());

    Tap<&glValidateProgram> validations;
    Hook<&glGetProgramInfoLog> logs;
    logs.replace([](GLuint, GLsizei size, GLsizei *, GLchar *log) { qstrncpy(log, "a\nb", uint(size)); });
    {
        const FakeAnswers<&glGetProgramiv> answers({{GL_LINK_STATUS, 0}, {GL_INFO_LOG_LENGTH, 4}});
        EXPECT_FALSE(program.validate());
    }
    EXPECT_EQ("a\nb", program.log());
    EXPECT_MESSAGES("warning Failed to validate GL shader========= Log =========", "warning a", "warning b");
    EXPECT_EQ(0u, validations.count());

    program.clear();
    program.addShader(GL_VERTEX_SHADER, "nonsense", QString());
    EXPECT_FALSE(program.linkPre() || program.isLinked());
    EXPECT_EQ(0, ledger().alive());
    const QString log = program.log();
    const QStringList failure = _capture.takeTexts();
    EXPECT_EQ("warning Failed to compile GL shader", failure.value(0));
    EXPECT_TRUE(failure.last().endsWith(log.section('\n', -1)) && log != "a\nb");
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
    EXPECT_EQ(&processor, program.getMacroProcessor());
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
    EXPECT_GE(program.getVertexAttributeLocation("va_Vertex"), 0);
    const std::pair<QString, QByteArray> files[] = {
        {"built-in-VS", "vo_TexCoord = va_TexCoord;"},
        {"defined", "#define A 1\n"},
        {"mine-", "37305"},
        {"mine-FS", "#define A 1\n"},
        {"mine-GS", "36313"},
        {"mine-TCS", "36488"},
        {"mine-TES", "36487"},
        {"mine-VS", "#version 150\n\nvoid main() {}\n// mine"},
    };
    QStringList names;
    for (const auto &[name, text] : files) {
        names += name;
        EXPECT_TRUE(bytesOf(name).contains(text)) << name.toStdString();
    }
    EXPECT_EQ(names, QDir().entryList(QDir::Files));
    QDir::setCurrent(before);
}

TEST_F(ShaderProgramTest, HostsCompareShadersByFallingName)
{
    Shader first(GL_VERTEX_SHADER, kVertex, nullptr);
    Shader second(GL_VERTEX_SHADER, kVertex, nullptr);
    ASSERT_TRUE(first.compile() && second.compile() && first.shaderID() < second.shaderID());
    EXPECT_TRUE(shaderProgramIdGreaterThan(&second, &first));
    EXPECT_FALSE(shaderProgramIdGreaterThan(&first, &second) || shaderProgramIdGreaterThan(&first, &first));
}

TEST_F(ShaderProgramTest, TheHashCoversTheTextsWhateverTheirOrder)
{
    const auto md5 = [](const QString &text) {
        return QString(QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Md5).toHex());
    };
    // Of one stage, so that the order of adding matters.
    const QStringList sources = {kVertex, kSomewhere, kUnresolved};
    ShaderProgram other(nullptr);
    QStringList hashes;
    for (int i = 0; i < sources.size(); ++i) {
        program.addShader(GL_VERTEX_SHADER, sources.at(i), QString());
        other.addShader(GL_VERTEX_SHADER, sources.at(sources.size() - 1 - i), QString());
        hashes.append(md5(QString(sources.at(i)).insert(12, '\n')));
    }
    hashes.sort();
    EXPECT_EQ(md5(hashes.join("")), program.constructShaderHash());
    EXPECT_EQ(md5(hashes.join("")), other.constructShaderHash());
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
        EXPECT_FALSE(program.isProgramBinariesSupported() || program.getProgramBinary(binary, format)
                     || program.loadProgramFromRawData("x", 1));
        EXPECT_TRUE(program.isLinked());
        return;
    }
    ASSERT_TRUE(program.getProgramBinary(binary, format));
    ShaderProgram restored(nullptr);
    ASSERT_TRUE(restored.loadProgramFromRawData(binary, format));
    EXPECT_TRUE(restored.bind());
    EXPECT_EQ(program.getVertexAttributeNameLocationMap(), restored.getVertexAttributeNameLocationMap());
    EXPECT_TRUE(restored.setUniform("u_Scale", QVariant(2.0F)));
    EXPECT_TRUE(restored.unbind());

    ShaderProgram refused(nullptr);
    EXPECT_FALSE(refused.loadProgramFromRawData(binary.fill('x'), format) || refused.isLinked());
    const FakeAnswers<&glGetProgramiv> lengths(GL_PROGRAM_BINARY_LENGTH, 0);
    EXPECT_FALSE(program.getProgramBinary(binary, format)) << "the driver has nothing to keep";
}

TEST_F(ShaderProgramTest, OutputsAndVaryingsGetTheirPlacesBeforeTheLink)
{
    const auto placesOf = [&](const char *query, const ShaderProgram &linked) {
        const auto function = reinterpret_cast<PFNGLGETFRAGDATAINDEXPROC>(getGLProcAddress(query, false));
        return std::make_pair(function(linked.shaderProgramID(), "out_First"),
                              function(linked.shaderProgramID(), "out_Second"));
    };
    program.setFragDataLocations({"out_Second", "out_First"});
    program.setTransformFeedbackVaryings({"vo_B", "vo_A"}, GL_SEPARATE_ATTRIBS);
    link(program);
    EXPECT_EQ(std::make_pair(1, 0), placesOf("glGetFragDataLocation", program));
    GLint mode = 0;
    driver()->glGetProgramiv(program.shaderProgramID(), GL_TRANSFORM_FEEDBACK_BUFFER_MODE, &mode);
    EXPECT_EQ(GL_SEPARATE_ATTRIBS, mode);
    char name[16] = "";
    GLsizei size = 0;
    GLenum type = 0;
    driver()->glGetTransformFeedbackVarying(program.shaderProgramID(), 0, sizeof name, nullptr, &size, &type,
                                            name);
    EXPECT_STREQ("vo_B", name);

    Tap<&glBindFragDataLocation> plain;
    ShaderProgram dual(nullptr); // its outputs are the two sources of colour 0
    dual.setFragDataLocations({"colour"});
    dual.setFragDataIndexs({{"out_First", "out_Second"}, {"unused"}});
    link(dual);
    EXPECT_EQ(0u, plain.count());
    EXPECT_EQ(std::make_pair(0, 1), placesOf("glGetFragDataIndex", dual));
}

// The entry points are those of the first program of the process.
using ShaderProgramEntryPointsTest = GLTest;

TEST_F(ShaderProgramEntryPointsTest, MissingOnesAreReportedOnceAndUnused)
{
    ZEL_NEEDS_EXTENSION("GL_ARB_shader_storage_buffer_object");
    FakeLoader loader;
    loader.hide("glGetProgramInterfaceiv");
    loader.hide("glShaderStorageBlockBinding");
    loader.hide("glBindFragDataLocationIndexed");
    loader.hide("glTransformFeedbackVaryings");
    ShaderProgram program(nullptr);
    EXPECT_TRUE(loader.takeLookUps().contains("glXGetProcAddress glGetProgramResourceName"));
    const ShaderProgram second(nullptr);
    EXPECT_EQ(QStringList(), loader.takeLookUps());
    Tap<&glBindFragDataLocation> plain;
    program.setFragDataLocations({"out_First", "out_Second"});
    program.setFragDataIndexs({{"out_First"}});
    program.setTransformFeedbackVaryings({"vo_A"}, GL_SEPARATE_ATTRIBS);
    link(program);
    EXPECT_EQ(2u, plain.count());
    EXPECT_EQ(GL_INVALID_INDEX, program.getStorageBlockIndex("Any"));
    program.setStorageBlockBinding(3, 1);
    const QString missing = "debug [GLUtilities.cpp:#] Failed to obtain '%1'";
    EXPECT_MESSAGES(
        missing.arg("glGetProgramInterfaceiv"), missing.arg("glShaderStorageBlockBinding"),
        missing.arg("glBindFragDataLocationIndexed"),
        QString("debug Trying to setup glBindFragDataLocationIndexed( %1, 0, , ). Func pointer is NULL, "
                "falling back to glBindFragDataLocation()\n")
            .arg(plain.last<0>()),
        missing.arg("glTransformFeedbackVaryings"),
        AssertionsOf("ShaderProgram.cpp")(
            "itFind != this->_storageBlockBindingIndices.end()",
            QString("Trying to set storageBlockIndex 3 on shader %1. Does not exist.").arg(plain.last<0>())));
}

TEST_F(ShaderProgramEntryPointsTest, TheEmbeddedExtensionForBinariesNeverReportsSupport)
{
    const FakeLimits counts(GL_NUM_EXTENSIONS, 1);
    Hook<&glGetStringi> names;
    names.replace(
        [](GLenum, GLuint) { return reinterpret_cast<const GLubyte *>("GL_OES_get_program_binary"); });
    FakeLoader loader;
    const ShaderProgram program(nullptr);
    const QStringList lookUps = loader.takeLookUps().filter("Program");
    const QStringList embedded = {"glXGetProcAddress glGetProgramBinaryOES",
                                  "glXGetProcAddress glProgramBinaryOES"};
    EXPECT_EQ(qEnvironmentVariableIsSet("ZEL_NO_GL_EXTENSIONS") ? QStringList() : embedded,
              lookUps.mid(0, 2).filter("Binary"));
    EXPECT_FALSE(lookUps.contains("glXGetProcAddress glProgramParameteri"));
    EXPECT_FALSE(program.isProgramBinariesSupported());
}
