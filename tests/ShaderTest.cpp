#include "support/FakeLimits.h"
#include "support/Files.h"
#include "support/GLFixture.h"
#include "support/Tap.h"

#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelGL/Shader.h>
#include <ZelGL/ShaderProgram.h>

#include <QtCore/QTemporaryDir>

using namespace Orvane::Zel;

using ShaderTest = GLTest;

TEST_F(ShaderTest, ItsTextIsProcessedWhenItIsMadeAndCompiledOnceAsLatin1)
{
    const QTemporaryDir folder;
    const QString source = QString::fromUtf8("#version 150\nvoid main() {} // \xc3\xa9");
    GLSLMacroProcessor processor;
    processor.addDefine("A", "1");
    QObject parent; // ignored
    const Shader plain(GL_VERTEX_SHADER, source, &parent);
    Shader shader(GL_FRAGMENT_SHADER, source, &processor, &parent);
    processor.addDefine("B", "2");
    EXPECT_TRUE(parent.children().isEmpty());
    EXPECT_EQ(QString(source).insert(12, '\n'), plain.sourceCode());
    EXPECT_EQ(QString(source).insert(12, "\n#define A 1\n"), shader.sourceCode());
    EXPECT_EQ(GLenum(GL_FRAGMENT_SHADER), shader.shaderType());
    EXPECT_FALSE(shader.isCompiled());
    EXPECT_EQ(Shader::kShaderNotCompiled, shader.shaderID());
    shader.dumpSourceCode(folder.filePath("no/such/folder"));
    shader.dumpSourceCode(QString());
    shader.dumpSourceCode(folder.filePath("dump.glsl"));
    EXPECT_TRUE(bytesOf(folder.filePath("dump.glsl")).startsWith("#version 150\n#define A 1\n"));

    Tap<&glCreateShader> creates;
    Tap<&glGetShaderInfoLog> logs;
    Hook<&glShaderSource> sources;
    QByteArray sent;
    sources.replace([&](GLuint name, GLsizei count, const GLchar *const *texts, const GLint *lengths) {
        EXPECT_EQ(1, count);
        sent = QByteArray(texts[0], lengths[0]);
        sources.original(name, count, texts, lengths);
    });
    EXPECT_TRUE(shader.compile());
    EXPECT_EQ(shader.sourceCode().toLatin1(), sent);
    shader.clearSource();
    EXPECT_EQ("", shader.sourceCode());
    const GLuint name = shader.shaderID();
    EXPECT_TRUE(shader.isCompiled() && shader.compile());
    EXPECT_EQ(1u, creates.count());
    EXPECT_EQ(0u, logs.count()) << "a good compile's log is not read";
    EXPECT_EQ(name, shader.shaderID());
    EXPECT_EQ(1, ledger().alive(GLLedger::eShader));
    EXPECT_TRUE(shaderProgramIdGreaterThan(&shader, &plain));
    EXPECT_FALSE(shaderProgramIdGreaterThan(&plain, &shader) || shaderProgramIdGreaterThan(&shader, &shader));
}

TEST_F(ShaderTest, AFailedCompileReportsStageNumberedSourceAndLogAndCanBeRepeated)
{
    const std::pair<GLenum, QString> stages[] = {
        {GL_VERTEX_SHADER, "GL_VERTEX_SHADER"},
        {GL_FRAGMENT_SHADER, "GL_FRAGMENT_SHADER"},
        {GL_GEOMETRY_SHADER, "GL_GEOMETRY_SHADER"},
        {GL_TESS_EVALUATION_SHADER, "GL_TESS_EVALUATION_SHADER"},
        {GL_TESS_CONTROL_SHADER, "GL_TESS_CONTROL_SHADER"},
        {GL_COMPUTE_SHADER, "unknown"},
    };
    Tap<&glCreateShader> creates;
    creates.replace([&](GLenum) { return creates.original(GL_VERTEX_SHADER); }); // the driver may lack others
    for (const auto &[type, name] : stages) {
        Shader shader(type, "void main() {}\n#line 7\n // 100% %1\n", nullptr);
        {
            const FakeAnswers<&glGetShaderiv> answers({{GL_COMPILE_STATUS, 0}, {GL_INFO_LOG_LENGTH, 8}});
            Hook<&glGetShaderInfoLog> logs;
            logs.replace([](GLuint, GLsizei size, GLsizei *, GLchar *log) {
                qstrncpy(log, "a\xc3\xa9\nb", uint(size));
            });
            EXPECT_FALSE(shader.compile() || shader.isCompiled());
        }
        EXPECT_EQ(type, creates.last<0>());
        EXPECT_EQ(0, ledger().alive(GLLedger::eShader));
        EXPECT_TRUE(takeMessages(warningLines(
            "Failed to compile GL shader\n Shader Type = " + name
            + "\n =======Source======\n   1 : void main() {}\n   2 : #line 7\n   3 :  // 100% %1\n   4 : \n"
              " =======Log=========\n"
            + QString::fromUtf8("a\xc3\xa9\nb"))));
        EXPECT_TRUE(shader.compile());
        EXPECT_EQ(QString::fromUtf8("a\xc3\xa9\nb"), shader.log());
    }
}
