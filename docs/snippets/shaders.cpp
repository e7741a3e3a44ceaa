#include "SnippetsTest.h"

#include <ZelGL/AutoBinder.h>
#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelGL/RangedValues.h>
#include <ZelGL/Shader.h>

#include <QtGui/QColor>

using namespace Orvane::Zel;

TEST_F(SnippetsTest, GLSLMacroProcessor)
{
    ShaderProgram program(nullptr);
    //! [GLSLMacroProcessor]
    const QString fragmentSource = R"(#version 150
#include "ZelUtilities.glslh"
out vec4 color;
void main() {
    color = vec4(BRIGHTNESS, 0.0, 0.0, 1.0);
    #macro HOST_EFFECT color = color;
})";

    GLSLMacroProcessor processor; // must outlive the program that it is set on
    processor.addDefine("BRIGHTNESS", "0.5");
    processor.addMacro("HOST_EFFECT", "color.g = 1.0 - color.r * color.r;");
    program.setMacroProcessor(&processor);
    program.addShader(GL_FRAGMENT_SHADER, fragmentSource, QString());
    //! [GLSLMacroProcessor]
    program.addShader(GL_VERTEX_SHADER, kAllOver, QString());
    ASSERT_TRUE(program.link());
    const AutoBinder binder(&program);
    Canvas canvas;
    canvas.draw(program);
    EXPECT_TRUE(canvas.pixels().isNear(0, 0, {0.5f, 0.75f, 0, 1}, 0));
}

TEST_F(SnippetsTest, Shader)
{
    const QString source = "#version 150\nvoid main() { gl_Position = 1; }\n";
    QString errors;
    //! [Shader]
    // Checks one stage as a user edits it; programs compile their own stages.
    Shader stage(GL_VERTEX_SHADER, source, nullptr);
    if (!stage.compile()) {
        errors = stage.log(); // line numbers refer to stage.sourceCode()
    }
    //! [Shader]
    EXPECT_FALSE(errors.isEmpty());
    _capture.take(); // the source and the driver's log, line by line
    TestContext::takeDriverReports();
    EXPECT_TRUE(Shader(GL_VERTEX_SHADER, kAtOrigin, nullptr).compile());
}

TEST_F(SnippetsTest, ShaderProgram)
{
    const QString fragmentSource = R"(#version 150
in vec2 vo_TexCoord;
uniform vec4 u_Color;
out vec4 color;
void main() { color = u_Color * vo_TexCoord.x; }
)";
    Canvas canvas(1, 1);
    const auto drawScene = [&canvas](ShaderProgram &bound) { canvas.draw(bound); };
    //! [ShaderProgram]
    ShaderProgram program(nullptr);
    program.addShaderFromFile(GL_VERTEX_SHADER, "passthroughVS.glslc");
    program.addShader(GL_FRAGMENT_SHADER, fragmentSource, QString());
    if (!program.link()) {
        return; // the log has the sources and the driver's messages
    }

    program.bind();
    program.setUniform("u_Color", QColor(255, 0, 0));
    drawScene(program);
    program.unbind();
    //! [ShaderProgram]
    EXPECT_TRUE(canvas.pixels().isNear(0, 0, {0.5f, 0, 0, 0.5f}, 0.001f));
}

TEST_F(SnippetsTest, RangedValues)
{
    const auto program = makeProgram(kAllOver, R"(#version 150
uniform float u_Roughness;
out vec4 color;
void main() { color = vec4(u_Roughness); }
)");
    const AutoBinder binder(program.get());
    //! [RangedValues]
    RangedFloat roughness; // a slider of the host's user interface
    roughness.value = 0.25f;
    roughness.minimum = 0.0f;
    roughness.maximum = 1.0f;
    program->setUniform("u_Roughness", QVariant::fromValue(roughness));
    //! [RangedValues]
    Canvas canvas;
    canvas.draw(*program);
    EXPECT_TRUE(canvas.pixels().isNear(0, 0, {0.25f, 0.25f, 0.25f, 0.25f}, 0));
}
