#include "support/FakeLimits.h"
#include "support/Files.h"
#include "support/GLFixture.h"
#include "support/Tap.h"

#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelGL/Shader.h>

#include <QtCore/QTemporaryDir>

using namespace Orvane::Zel;

namespace {

const QString kGoodSource = "#version 150\nvoid main() {}";

/// The warnings of a failed compile: head, numbered source, and the driver's log.
std::vector<ExpectedMessage> failure(const Shader &shader, const QString &stage, const QString &numbered)
{
    return warningLines("Failed to compile GL shader\n Shader Type = " + stage + "\n =======Source======\n"
                        + numbered + "\n =======Log=========\n" + shader.log());
}

} // namespace

using ShaderTest = GLTest;

TEST_F(ShaderTest, ItsTextIsProcessedWhenItIsMadeAndDumpedWhereAFileOpens)
{
    const QTemporaryDir folder;
    GLSLMacroProcessor processor;
    processor.addDefine("A", "1");
    QObject parent; // ignored
    const Shader plain(GL_VERTEX_SHADER, kGoodSource, &parent);
    EXPECT_EQ(nullptr, plain.parent());
    const Shader processed(GL_FRAGMENT_SHADER, kGoodSource, &processor, nullptr);
    processor.addDefine("B", "2");
    EXPECT_EQ("#version 150\n\nvoid main() {}", plain.sourceCode());
    EXPECT_EQ("#version 150\n#define A 1\n\nvoid main() {}", processed.sourceCode());
    EXPECT_EQ(GLenum(GL_FRAGMENT_SHADER), processed.shaderType());
    EXPECT_FALSE(processed.isCompiled());
    EXPECT_EQ(Shader::kShaderNotCompiled, processed.shaderID());
    plain.dumpSourceCode(folder.filePath("no/such/folder"));
    plain.dumpSourceCode(QString());
    plain.dumpSourceCode(folder.filePath("dump.glsl"));
    EXPECT_EQ(plain.sourceCode(), bytesOf(folder.filePath("dump.glsl")));
}

TEST_F(ShaderTest, CompilesItsSourceOnceAsLatin1AndNeedsItNoMore)
{
    Shader shader(GL_VERTEX_SHADER, QString::fromUtf8("void main() {} // \xc3\xa9"), nullptr);
    Tap<&glCreateShader> creates;
    Tap<&glGetShaderInfoLog> logs;
    Hook<&glShaderSource> sources;
    QByteArray sent;
    sources.replace([&](GLuint name, GLsizei count, const GLchar *const *texts, const GLint *lengths) {
        EXPECT_EQ(1, count);
        sent = QByteArray(texts[0], lengths[0]);
        sources.original(name, count, texts, lengths);
    });
    ASSERT_TRUE(shader.compile());
    EXPECT_EQ(QByteArray("void main() {} // \xe9"), sent);
    EXPECT_TRUE(shader.isCompiled());
    shader.clearSource();
    EXPECT_EQ("", shader.sourceCode());
    const GLuint name = shader.shaderID();
    EXPECT_TRUE(shader.compile());
    EXPECT_EQ(1u, creates.count());
    EXPECT_EQ(0u, logs.count()) << "a good compile's log is not read";
    EXPECT_EQ(name, shader.shaderID());
    EXPECT_EQ(1, ledger().alive(GLLedger::eShader));
}

TEST_F(ShaderTest, AFailedCompileTellsTheStageTheNumberedSourceAndTheLog)
{
    ZEL_NEEDS_EXTENSION("GL_ARB_tessellation_shader");
    const struct
    {
        GLenum type;
        const char *name;
    } stages[] = {
        {GL_VERTEX_SHADER, "GL_VERTEX_SHADER"},
        {GL_FRAGMENT_SHADER, "GL_FRAGMENT_SHADER"},
        {GL_GEOMETRY_SHADER, "GL_GEOMETRY_SHADER"},
        {GL_TESS_EVALUATION_SHADER, "GL_TESS_EVALUATION_SHADER"},
        {GL_TESS_CONTROL_SHADER, "GL_TESS_CONTROL_SHADER"},
        {GL_COMPUTE_SHADER, "unknown"},
    };
    for (const auto &stage : stages) {
        Shader shader(stage.type, "one\n#two\n 100% %1\n", nullptr);
        EXPECT_FALSE(shader.compile());
        EXPECT_FALSE(shader.isCompiled());
        EXPECT_FALSE(shader.log().isEmpty());
        EXPECT_EQ("one\n#two\n 100% %1\n", shader.sourceCode());
        EXPECT_TRUE(
            takeMessages(failure(shader, stage.name, "   1 : one\n   2 : #two\n   3 :  100% %1\n   4 : ")));
    }
    EXPECT_EQ(0, ledger().alive(GLLedger::eShader));
    TestContext::takeDriverReports(); // some drivers report the errors of a source here too
}

TEST_F(ShaderTest, AFailedCompileCanBeTriedAgainAndKeepsItsLog)
{
    Shader shader(GL_VERTEX_SHADER, kGoodSource, nullptr);
    {
        const FakeAnswers<&glGetShaderiv> answers({{GL_COMPILE_STATUS, 0}, {GL_INFO_LOG_LENGTH, 8}});
        Hook<&glGetShaderInfoLog> logs;
        logs.replace(
            [](GLuint, GLsizei size, GLsizei *, GLchar *log) { qstrncpy(log, "a\xc3\xa9\nb", uint(size)); });
        EXPECT_FALSE(shader.compile());
    }
    EXPECT_EQ(QString::fromUtf8("a\xc3\xa9\nb"), shader.log());
    EXPECT_TRUE(takeMessages(
        failure(shader, "GL_VERTEX_SHADER", "   1 : #version 150\n   2 : \n   3 : void main() {}")));
    EXPECT_TRUE(shader.compile());
    EXPECT_EQ(QString::fromUtf8("a\xc3\xa9\nb"), shader.log());
}
