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

long fakeMilliseconds = 0; ///< added to the clocks of this process

const QString kVertex = "#version 150\n"
                        "in vec4 va_Vertex;\n"
                        "uniform float u_Scale;\n"
                        "void main() { gl_Position = va_Vertex * u_Scale; }";
const QString kFragment = "#version 150\n"
                          "out vec4 out_First;\n"
                          "out vec4 out_Second;\n"
                          "void main() { out_First = vec4(1.0); out_Second = vec4(0.5); }";
const QString kUnresolved = "#version 150\n"
                            "vec4 somewhere();\n"
                            "void main() { gl_Position = somewhere(); }";
const QString kSomewhere = "#version 150\n"
                           "vec4 somewhere() { return vec4(0.0); }";

QString md5(const QString &text)
{
    return QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Md5).toHex();
}

class ShaderProgramTest : public GLTest
{
protected:
    /// Adds two valid stages and links them.
    void link(ShaderProgram &program)
    {
        program.addShader(GL_VERTEX_SHADER, kVertex, QString());
        program.addShader(GL_FRAGMENT_SHADER, kFragment, QString());
        ASSERT_TRUE(program.link());
    }

    FakeLoader _loader;
};

} // namespace

/// Replaces the clock, so that a test of a timeout does not wait for it.
extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec *time) noexcept
{
    static const auto real =
        reinterpret_cast<int (*)(clockid_t, timespec *)>(dlsym(RTLD_NEXT, "clock_gettime"));
    const int result = real(clock, time);
    time->tv_sec += fakeMilliseconds / 1000;
    time->tv_nsec += fakeMilliseconds % 1000 * 1000000;
    if (time->tv_nsec >= 1000000000) {
        ++time->tv_sec;
        time->tv_nsec -= 1000000000;
    }
    return result;
}

TEST_F(ShaderProgramTest, ANewProgramIsRefusedItsBindAndItsLinkIsNotAwaitedInTheFirstHalf)
{
    ShaderProgram program(nullptr);
    Tap<&glUseProgram> uses;
    EXPECT_FALSE(program.isLinked());
    EXPECT_EQ(ShaderProgram::kShaderProgramNotLinked, program.shaderProgramID());
    EXPECT_EQ(nullptr, program.getMacroProcessor());
    EXPECT_FALSE(program.validate());
    EXPECT_FALSE(program.bind());
    EXPECT_MESSAGES("warning [ShaderProgram.cpp:#] Shader program is not linked");
    EXPECT_EQ(0u, uses.count());
    EXPECT_EQ(nullptr, ShaderProgram::currentShaderProgram());

    program.addShader(GL_VERTEX_SHADER, kVertex, QString());
    Tap<&glGetProgramiv> questions;
    EXPECT_TRUE(program.linkPre());
    EXPECT_EQ(0u, questions.count());
    EXPECT_TRUE(program.linkPreWait());
    EXPECT_TRUE(program.linkPost());
}

TEST_F(ShaderProgramTest, EachContextKnowsItsBoundProgramUntilAnyProgramIsUnbound)
{
    ShaderProgram first(nullptr);
    ShaderProgram second(nullptr);
    link(first);
    link(second);
    EXPECT_TRUE(first.bind());
    EXPECT_TRUE(first.bind()) << "rebinding is allowed";
    EXPECT_EQ(&first, ShaderProgram::currentShaderProgram());
    EXPECT_EQ(GLint(first.shaderProgramID()), integerOf(GL_CURRENT_PROGRAM));
    EXPECT_TRUE(second.bind());
    EXPECT_EQ(&second, ShaderProgram::currentShaderProgram());
    {
        const auto other = TestContext::create();
        ASSERT_NE(nullptr, other);
        EXPECT_EQ(nullptr, ShaderProgram::currentShaderProgram());
        ShaderProgram theirs(nullptr);
        link(theirs);
        ASSERT_TRUE(theirs.bind());
        EXPECT_EQ(&theirs, ShaderProgram::currentShaderProgram());
        makeCurrent();
        EXPECT_EQ(&second, ShaderProgram::currentShaderProgram());
        EXPECT_EQ(2, gCurrentlyBoundShaderPrograms.size());
        ASSERT_TRUE(other->makeCurrent());
        theirs.unbind();
    }
    makeCurrent();
    EXPECT_EQ(&second, gCurrentlyBoundShaderPrograms.value(GLContextTracker::currentContext()));
    EXPECT_TRUE(first.unbind()) << "not the one that is bound";
    EXPECT_TRUE(gCurrentlyBoundShaderPrograms.isEmpty());
    EXPECT_EQ(nullptr, ShaderProgram::currentShaderProgram());
    EXPECT_EQ(0, integerOf(GL_CURRENT_PROGRAM));
    EXPECT_TRUE(first.unbind());
}

TEST_F(ShaderProgramTest, ALinkedProgramTakesNoFurtherStageUntilItIsClearedOrCompiledAnew)
{
    ShaderProgram program(nullptr);
    link(program);
    const GLuint name = program.shaderProgramID();
    program.addShader(GL_VERTEX_SHADER, kSomewhere, QString());
    Tap<&glCreateProgram> creates;
    Tap<&glAttachShader> attaches;
    EXPECT_TRUE(program.link());
    EXPECT_TRUE(program.validate());
    EXPECT_EQ(name, program.shaderProgramID());
    EXPECT_EQ(0u, creates.count() + attaches.count());

    program.clear();
    EXPECT_FALSE(program.isLinked());
    EXPECT_EQ(0, ledger().alive());
    program.addShader(GL_VERTEX_SHADER, kVertex, QString());
    EXPECT_TRUE(program.link());
    EXPECT_EQ(1u, attaches.count());

    const GLuint forgotten = program.shaderProgramID();
    EXPECT_TRUE(program.compile());
    EXPECT_FALSE(program.isLinked());
    EXPECT_EQ(1, ledger().alive(GLLedger::eProgram)) << "forgotten, and not deleted";
    EXPECT_TRUE(program.link());
    EXPECT_NE(forgotten, program.shaderProgramID());
    glDeleteProgram(forgotten);
}

TEST_F(ShaderProgramTest, TheTwoHalvesAreTheHostsToOverride)
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
    ShaderProgram program(nullptr);
    link(program);
    Tap<&glGetProgramiv> polls;
    polls.replace([](GLuint, GLenum, GLint *value) {
        *value = 0;
        fakeMilliseconds += 250;
    });
    EXPECT_TRUE(program.linkPreWait());
    if (!hasGLExtension("GL_ARB_parallel_shader_compile")) {
        EXPECT_EQ(0u, polls.count());
        return;
    }
    EXPECT_EQ(20u, polls.count());
    EXPECT_EQ(std::make_tuple(program.shaderProgramID(), GLenum(0x91B1)),
              std::make_tuple(polls.last<0>(), polls.last<1>()));
    const QString sleep = QString::asprintf("debug %p Sleep 0x00", static_cast<void *>(&program));
    EXPECT_MESSAGES(sleep, sleep, sleep, sleep,
                    QString::asprintf("debug %p TIMEOUT 0x00", static_cast<void *>(&program)));
    polls.clear();
    polls.replace([](GLuint, GLenum, GLint *) {});
    EXPECT_TRUE(program.linkPreWait());
    EXPECT_EQ(1u, polls.count()) << "a driver without an answer counts as finished";
}

TEST_F(ShaderProgramTest, AFailedLinkTellsTheLogAndTheSourcesAndCanBeMended)
{
    ShaderProgram program(nullptr);
    program.addShader(GL_VERTEX_SHADER, kUnresolved, QString());
    Tap<&glDeleteProgram> deletes;
    Tap<&glAttachShader> attaches;
    EXPECT_FALSE(program.link());
    EXPECT_FALSE(program.isLinked());
    EXPECT_FALSE(program.log().isEmpty());
    const QString dumped = QString("Program %1\nShader 0x8b31 %2\n"
                                   "   1 : #version 150\n"
                                   "   2 : \n"
                                   "   3 : vec4 somewhere();\n"
                                   "   4 : void main() { gl_Position = somewhere(); }\n")
                               .arg(deletes.last<0>())
                               .arg(attaches.last<1>());
    EXPECT_TRUE(takeMessages(
        warningLines("Failed to link GL shader\n =======Log=========\n" + program.log() + "\n" + dumped)));

    program.addShader(GL_VERTEX_SHADER, kSomewhere, QString());
    EXPECT_TRUE(program.link());
    program.clear();
    EXPECT_EQ(0, ledger().alive());
}

TEST_F(ShaderProgramTest, AFailedCompileEndsTheLinkAndLeavesTheStages)
{
    ShaderProgram program(nullptr);
    program.addShader(GL_VERTEX_SHADER, "nonsense", QString());
    EXPECT_FALSE(program.linkPre());
    EXPECT_FALSE(program.isLinked());
    EXPECT_EQ(0, ledger().alive());
    const QString log = program.log();
    EXPECT_FALSE(log.isEmpty());
    const QStringList failure = _capture.takeTexts();
    EXPECT_EQ("warning Failed to compile GL shader", failure.value(0));
    EXPECT_FALSE(program.compile()) << "tried anew";
    EXPECT_EQ(log, program.log());
    EXPECT_EQ(failure, _capture.takeTexts());
    TestContext::takeDriverReports(); // the driver reports the errors too
}

TEST_F(ShaderProgramTest, ValidateReadsTheLinkAndNeverRunsTheDriversOwn)
{
    ShaderProgram program(nullptr);
    link(program);
    Tap<&glValidateProgram> validations;
    {
        const FakeAnswers<&glGetProgramiv> answers({{GL_LINK_STATUS, 0}, {GL_INFO_LOG_LENGTH, 4}});
        Hook<&glGetProgramInfoLog> logs;
        logs.replace([](GLuint, GLsizei size, GLsizei *, GLchar *log) { qstrncpy(log, "a\nb", uint(size)); });
        EXPECT_FALSE(program.validate());
    }
    EXPECT_EQ("a\nb", program.log());
    EXPECT_MESSAGES("warning Failed to validate GL shader========= Log =========", "warning a", "warning b");
    EXPECT_EQ(0u, validations.count());
}

TEST_F(ShaderProgramTest, StagesComeFromTheWorkingFolderBeforeTheBuiltInTree)
{
    const QTemporaryDir folder;
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(folder.path()));
    writeFile("passthroughVS.glslc", "#version 150\nvoid main() {}\n// mine");
    ShaderProgram program(nullptr);
    program.addShaderFromFile(GL_VERTEX_SHADER, "passthroughVS.glslc");
    program.dumpShaderSources("mine-%1");
    ASSERT_TRUE(QFile::remove("passthroughVS.glslc"));
    program.clear();
    program.addShaderFromFile(GL_VERTEX_SHADER, "passthroughVS.glslc");
    program.addShaderFromFile(GL_FRAGMENT_SHADER, "no such file %s");
    EXPECT_MESSAGES("warning [ShaderProgram.cpp:#] Couldn't find shader source file 'no such file %s'");
    program.dumpShaderSources("built-in-%1");
    EXPECT_TRUE(program.link());
    EXPECT_EQ((QStringList{"built-in-VS", "mine-VS"}), QDir().entryList(QDir::Files));
    EXPECT_TRUE(bytesOf("mine-VS").contains("// mine"));
    EXPECT_TRUE(bytesOf("built-in-VS").contains("vo_TexCoord = va_TexCoord;"));
    EXPECT_GE(program.getVertexAttributeLocation("va_Vertex"), 0);
    QDir::setCurrent(before);
}

TEST_F(ShaderProgramTest, TheProcessorCountsForStagesAddedLaterAndDumpsShowIt)
{
    const QTemporaryDir folder;
    GLSLMacroProcessor processor;
    processor.addDefine("A", "1");
    ShaderProgram program(nullptr);
    program.addShader(GL_VERTEX_SHADER, kVertex, folder.filePath("plain"));
    program.setMacroProcessor(&processor);
    EXPECT_EQ(&processor, program.getMacroProcessor());
    program.addShader(GL_VERTEX_SHADER, kVertex, folder.filePath("defined"));
    for (const GLenum stage : {GL_FRAGMENT_SHADER, GL_GEOMETRY_SHADER, GL_TESS_EVALUATION_SHADER,
                               GL_TESS_CONTROL_SHADER, GL_COMPUTE_SHADER}) {
        program.addShader(int(stage), QString::number(stage), QString());
    }
    EXPECT_FALSE(bytesOf(folder.filePath("plain")).contains("#define"));
    EXPECT_TRUE(bytesOf(folder.filePath("defined")).contains("#define A 1\n"));
    program.dumpShaderSources(folder.filePath("stage-%1"));
    QByteArray dumped;
    for (const char *stage : {"FS", "GS", "TES", "TCS", ""}) {
        dumped += bytesOf(folder.filePath(QString("stage-") + stage)) + ' ';
    }
    EXPECT_EQ("35632 36313 36487 36488 37305 ", dumped);
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
    GLSLMacroProcessor processor;
    // Of one stage, so that the order of adding matters.
    const QStringList sources = {kVertex, kSomewhere, kUnresolved};
    ShaderProgram oneWay(nullptr);
    ShaderProgram otherWay(nullptr);
    ShaderProgram defined(nullptr);
    processor.addDefine("A", "1");
    defined.setMacroProcessor(&processor);
    QStringList hashes;
    for (int i = 0; i < sources.size(); ++i) {
        oneWay.addShader(GL_VERTEX_SHADER, sources.at(i), QString());
        otherWay.addShader(GL_VERTEX_SHADER, sources.at(sources.size() - 1 - i), QString());
        defined.addShader(GL_VERTEX_SHADER, sources.at(i), QString());
        hashes.append(md5(QString(sources.at(i)).replace("150\n", "150\n\n")));
    }
    hashes.sort();
    EXPECT_EQ(md5(hashes.join("")), oneWay.constructShaderHash());
    EXPECT_EQ(oneWay.constructShaderHash(), otherWay.constructShaderHash());
    EXPECT_NE(oneWay.constructShaderHash(), defined.constructShaderHash());
    defined.clear();
    link(defined);
    EXPECT_EQ(md5(md5("") + md5("")), defined.constructShaderHash()) << "a link clears the sources";
}

TEST_F(ShaderProgramTest, ABinaryMakesTheSameProgramWithoutStages)
{
    ShaderProgram program(nullptr);
    link(program);
    QByteArray binary;
    unsigned int format = 0;
    if (!hasGLExtension("GL_ARB_get_program_binary")) {
        EXPECT_FALSE(program.isProgramBinariesSupported());
        EXPECT_FALSE(program.getProgramBinary(binary, format));
        EXPECT_FALSE(program.loadProgramFromRawData("x", 1));
        EXPECT_TRUE(program.isLinked());
        return;
    }
    ASSERT_TRUE(program.isProgramBinariesSupported());
    ASSERT_TRUE(program.getProgramBinary(binary, format));
    EXPECT_FALSE(binary.isEmpty());

    ShaderProgram restored(nullptr);
    ASSERT_TRUE(restored.loadProgramFromRawData(binary, format));
    EXPECT_TRUE(restored.bind());
    EXPECT_EQ(program.getVertexAttributeNameLocationMap(), restored.getVertexAttributeNameLocationMap());
    EXPECT_TRUE(restored.setUniform("u_Scale", QVariant(2.0F)));
    EXPECT_TRUE(restored.unbind());

    ShaderProgram refused(nullptr);
    binary.fill('x');
    EXPECT_FALSE(refused.loadProgramFromRawData(binary, format));
    EXPECT_FALSE(refused.isLinked());
    const FakeAnswers<&glGetProgramiv> lengths(GL_PROGRAM_BINARY_LENGTH, 0);
    EXPECT_FALSE(program.getProgramBinary(binary, format)) << "the driver has nothing to keep";
}

TEST_F(ShaderProgramTest, TheRoadOfTheEmbeddedExtensionNeverReportsSupport)
{
    const FakeLimits counts(GL_NUM_EXTENSIONS, 1);
    Hook<&glGetStringi> names;
    names.replace(
        [](GLenum, GLuint) { return reinterpret_cast<const GLubyte *>("GL_OES_get_program_binary"); });
    _loader.takeLookUps();
    const ShaderProgram program(nullptr);
    const bool extensions = qgetenv("ZEL_NO_GL_EXTENSIONS").isNull();
    const QStringList lookUps = _loader.takeLookUps();
    EXPECT_EQ(extensions, lookUps.contains("glXGetProcAddress glGetProgramBinaryOES"));
    EXPECT_EQ(extensions, lookUps.contains("glXGetProcAddress glProgramBinaryOES"));
    EXPECT_FALSE(lookUps.contains("glXGetProcAddress glProgramParameteri"));
    EXPECT_FALSE(program.isProgramBinariesSupported());
}

TEST_F(ShaderProgramTest, EntryPointsAreLookedUpOnceAndMissedAloud)
{
    ZEL_NEEDS_EXTENSION("GL_ARB_shader_storage_buffer_object");
    _loader.hide("glGetProgramInterfaceiv");
    _loader.hide("glShaderStorageBlockBinding");
    _loader.takeLookUps();
    ShaderProgram program(nullptr);
    EXPECT_MESSAGES("debug [GLUtilities.cpp:#] Failed to obtain 'glGetProgramInterfaceiv'",
                    "debug [GLUtilities.cpp:#] Failed to obtain 'glShaderStorageBlockBinding'");
    EXPECT_TRUE(_loader.takeLookUps().contains("glXGetProcAddress glGetProgramResourceName"));
    const ShaderProgram second(nullptr);
    EXPECT_EQ(QStringList(), _loader.takeLookUps());
    link(program); // storage blocks are unknown then
    EXPECT_EQ(GL_INVALID_INDEX, program.getStorageBlockIndex("Any"));
    program.setStorageBlockBinding(3, 1);
    EXPECT_MESSAGES(
        QString("critical [ShaderProgram.cpp:#] [ !! ] Assertion 'itFind != "
                "this->_storageBlockBindingIndices.end()' failed: Trying to set storageBlockIndex "
                "3 on shader %1. Does not exist.")
            .arg(program.shaderProgramID()));
}

TEST_F(ShaderProgramTest, OutputsGetTheirColourNumbersByPlaceAndADualSourceOutputTheIndexesOfColourZero)
{
    Tap<&glBindFragDataLocation> plain;
    for (const QStringList &names :
         {QStringList{"out_First", "out_Second"}, QStringList{"out_Second", "out_First"}}) {
        ShaderProgram program(nullptr);
        program.setFragDataLocations(names);
        link(program);
        for (const char *name : {"out_First", "out_Second"}) {
            EXPECT_EQ(names.indexOf(name), driver()->glGetFragDataLocation(program.shaderProgramID(), name));
        }
    }

    const auto index =
        reinterpret_cast<PFNGLGETFRAGDATAINDEXPROC>(getGLProcAddress("glGetFragDataIndex", false));
    plain.clear();
    ShaderProgram dual(nullptr);
    dual.setFragDataLocations({"colour"});
    dual.setFragDataIndexs({{"out_First", "out_Second"}, {"unused"}});
    link(dual);
    EXPECT_EQ(0u, plain.count());
    EXPECT_EQ(0, index(dual.shaderProgramID(), "out_First"));
    EXPECT_EQ(1, index(dual.shaderProgramID(), "out_Second"));

    _loader.hide("glBindFragDataLocationIndexed");
    ShaderProgram fallback(nullptr);
    fallback.setFragDataLocations({"out_First", "out_Second"});
    fallback.setFragDataIndexs({{"out_First"}});
    link(fallback);
    EXPECT_EQ(2u, plain.count());
    EXPECT_MESSAGES(
        "debug [GLUtilities.cpp:#] Failed to obtain 'glBindFragDataLocationIndexed'",
        QString("debug Trying to setup glBindFragDataLocationIndexed( %1, 0, , ). Func pointer is NULL, "
                "falling back to glBindFragDataLocation()\n")
            .arg(plain.last<0>()));
}

TEST_F(ShaderProgramTest, VaryingsAreCapturedInTheModeGiven)
{
    const QString source = "#version 150\nout float vo_A;\nout vec2 vo_B;\n"
                           "void main() { vo_A = 1.0; vo_B = vec2(2.0); gl_Position = vec4(0.0); }";
    ShaderProgram program(nullptr);
    program.addShader(GL_VERTEX_SHADER, source, QString());
    program.setTransformFeedbackVaryings({"vo_B", "vo_A"}, GL_SEPARATE_ATTRIBS);
    ASSERT_TRUE(program.link());
    GLint mode = 0;
    driver()->glGetProgramiv(program.shaderProgramID(), GL_TRANSFORM_FEEDBACK_BUFFER_MODE, &mode);
    EXPECT_EQ(GL_SEPARATE_ATTRIBS, mode);
    char name[16] = "";
    GLsizei size = 0;
    GLenum type = 0;
    driver()->glGetTransformFeedbackVarying(program.shaderProgramID(), 0, sizeof name, nullptr, &size, &type,
                                            name);
    EXPECT_STREQ("vo_B", name);

    _loader.hide("glTransformFeedbackVaryings");
    ShaderProgram without(nullptr);
    without.addShader(GL_VERTEX_SHADER, source, QString());
    without.setTransformFeedbackVaryings({"vo_A"}, GL_SEPARATE_ATTRIBS);
    EXPECT_TRUE(without.link());
    EXPECT_MESSAGES("debug [GLUtilities.cpp:#] Failed to obtain 'glTransformFeedbackVaryings'");
}
