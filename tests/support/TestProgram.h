#pragma once

#include <ZelGL/ShaderProgram.h>

#include <gtest/gtest.h>

#include <QtGui/qopengl.h>

#include <memory>

// Stages for tests that are about the other stage.
constexpr char kAtOrigin[] = "#version 150\nvoid main() { gl_Position = vec4(0.0); }\n";
constexpr char kAllWhite[] = "#version 150\nout vec4 color;\nvoid main() { color = vec4(1.0); }\n";
/// A vertex stage for the full-screen quad.
constexpr char kAllOver[] = "#version 150\nin vec4 va_Vertex;\nvoid main() { gl_Position = va_Vertex; }\n";

/// A linked program of two stages; a failure of the running test if it does not link. The optional processor applies to
/// both stages. The fragment stage may have additional parts: files of the library, and texts.
inline std::unique_ptr<Orvane::Zel::ShaderProgram>
makeProgram(const QString &vertexSource, const QString &fragmentSource = kAllWhite,
            Orvane::Zel::GLSLMacroProcessor *processor = nullptr, const QStringList &files = {},
            const QStringList &texts = {})
{
    auto program = std::make_unique<Orvane::Zel::ShaderProgram>(nullptr);
    program->setMacroProcessor(processor);
    program->addShader(GL_VERTEX_SHADER, vertexSource, QString());
    for (const QString &text : QStringList(fragmentSource) + texts) {
        program->addShader(GL_FRAGMENT_SHADER, text, QString());
    }
    for (const QString &file : files) {
        program->addShaderFromFile(GL_FRAGMENT_SHADER, file);
    }
    EXPECT_TRUE(program->link()) << program->log().toStdString();
    return program;
}
