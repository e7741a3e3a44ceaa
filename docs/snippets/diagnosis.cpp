#include "SnippetsTest.h"

#include <ZelGL/AutoBinder.h>
#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelGL/SamplerTextureManager.h>
#include <ZelGL/Shader.h>
#include <ZelShaders/ZelShaders.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

using namespace Orvane::Zel;
using namespace Orvane::ZelShaders;

namespace {

const QString kSource =
    "#version 150\n#include \"ZelUtilities.glslh\"\nvoid main()\n{\n    gl_Position = wrong;\n}\n";

} // namespace

TEST_F(SnippetsTest, LineMap)
{
    GLSLMacroProcessor processor;
    processor.addDefine("BRIGHTNESS", "0.5");
    //! [LineMap]
    const LineMap map(kSource, "my.vert", &processor);
    const int line = 2; // of the text that the driver compiled
    const QString place = map.origin(line).toString();
    //! [LineMap]
    EXPECT_EQ("defines:1", place);
}

TEST_F(SnippetsTest, ShaderReport)
{
    const LineMap map(kSource, "my.vert", nullptr);
    Shader stage(GL_VERTEX_SHADER, kSource, nullptr);
    QString text;
    //! [ShaderReport]
    if (!stage.compile()) {
        text = ShaderReport::of(stage.log(), map); // "my.vert:5: error: ..."
    }
    //! [ShaderReport]
    EXPECT_TRUE(text.startsWith("my.vert:5: error: ")) << qPrintable(text);
    QFile::remove(ShaderReport::writeText(map));
    _capture.take(); // the source and the driver's log, line by line
    TestContext::takeDriverReports();
}

TEST_F(SnippetsTest, ProgramBuilder)
{
    ShaderProgram program(nullptr);
    //! [ProgramBuilder]
    ProgramBuilder builder(program);
    builder.addShader(GL_VERTEX_SHADER, kSource, "my.vert");
    builder.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.glslc");
    if (!builder.link()) {
        // The report is logged; builder.report() has it for the picture.
    }
    //! [ProgramBuilder]
    EXPECT_EQ("Failed to compile my.vert, GL_VERTEX_SHADER", builder.report().section('\n', 0, 0));
    QFile::remove(builder.report().section("whole text: ", 1));
    _capture.take();
    TestContext::takeDriverReports();
}

TEST_F(SnippetsTest, BuildOfAProgram)
{
    SamplerTextureManager manager;
    TextureManager *const textures = &manager;
    //! [build]
    const QString vertex = R"(#version 150
#include "ZelUtilities.glslh"
in vec3 va_Vertex;
void main() { gl_Position = vec4(va_Vertex, 1.0 + float(getDrawID())); }
)";
    const QString fragment = R"(#version 150
#include "TextureManager.glslh"
uniform uvec2 u_Image;
out vec4 color;
void main() { color = managedTexture(u_Image, vec2(0.5)); }
)";
    // The library's files are found by the functions that the stages call.
    const std::unique_ptr<ShaderProgram> program = ProgramBuilder::build(vertex, fragment, textures);
    //! [build]
    EXPECT_TRUE(program->isLinked());
    _capture.takeTexts(QtInfoMsg); // what the manager logs
}

TEST_F(SnippetsTest, ProgramCache)
{
    EXPECT_EQ(ProgramCache::defaultFolder(), ProgramCache().folder());
    const QTemporaryDir temporary;
    const QString folder = temporary.path();
    ShaderProgram program(nullptr);
    //! [ProgramCache]
    ProgramCache cache(folder); // one for all programs
    ProgramBuilder builder(program);
    builder.setCache(&cache);
    builder.addShaderFromFile(GL_VERTEX_SHADER, "passthroughVS.glslc");
    builder.addShaderFromFile(GL_FRAGMENT_SHADER, "preintegratedBRDFTableFS.glslc");
    builder.addShaderFromFile(GL_FRAGMENT_SHADER, "ImportanceSample.glslc");
    builder.link(); // from the second start on, without a compile
    //! [ProgramCache]
    EXPECT_TRUE(program.isLinked());
    EXPECT_EQ(_capture.take().isEmpty() ? 1 : 0, QDir(folder).entryList(QDir::Files).size());
}

TEST_F(SnippetsTest, ProgramReloader)
{
    const QTemporaryDir folder;
    GLSLMacroProcessor processor;
    const QString file = folder.filePath("my.frag");
    QFile(file).open(QIODevice::WriteOnly); // empty: nothing can be linked yet
    //! [ProgramReloader]
    ProgramReloader reloader(
        [&](ShaderProgram &program, ProgramBuilder &builder) {
            program.setMacroProcessor(&processor);
            return builder.addShaderFromFile(GL_VERTEX_SHADER, "passthroughVS.glslc")
                   && builder.addShaderFromFile(GL_FRAGMENT_SHADER, file);
        },
        [](ShaderProgram &program) { program.setUniform("u_Scale", QVariant(2.0f)); }); // set once
    // In each frame:
    reloader.poll();
    const QSharedPointer<ShaderProgram> program = reloader.program();
    if (program->isLinked()) {
        const AutoBinder bound(program.data());
        // Draw. If reloader.report() is not empty, show it: the program is the last good one.
    }
    //! [ProgramReloader]
    EXPECT_FALSE(program->isLinked() || reloader.report().isEmpty());
    for (const QString &path : reloader.report().section("whole text: ", 1).split(", ")) {
        QFile::remove(path);
    }
    _capture.take();
    TestContext::takeDriverReports();
}

TEST_F(SnippetsTest, FunctionIndexAndShaderLint)
{
    //! [FunctionIndex]
    const QStringList files = FunctionIndex::library().filesDefining("shadowMapGetVisibility");
    //! [FunctionIndex]
    EXPECT_EQ(1, QString(files.value(0)).count("ShadowMapManager.glslc"));
    QStringList findings;
    //! [ShaderLint]
    const LineMap map("#include \"missing.glslh\"\n", "my.vert", nullptr);
    for (const ShaderLint::Finding &finding : ShaderLint::lint(map)) {
        findings += finding.toString();
    }
    //! [ShaderLint]
    EXPECT_EQ(QStringList("my.vert:1: error: no include path has the file 'missing.glslh'"), findings);
}
