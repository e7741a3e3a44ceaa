#pragma once

#include <ZelGL/ShaderProgram.h>

#include <gtest/gtest.h>

#include <QtGui/qopengl.h>

#include <memory>

/// Stages for programs of which only the other one counts.
constexpr char kAtOrigin[] = "#version 150\nvoid main() { gl_Position = vec4(0.0); }\n";
constexpr char kAllWhite[] = "#version 150\nout vec4 color;\nvoid main() { color = vec4(1.0); }\n";

/// A program of two stages, linked, or a failure of the running test. The processor, if any, is that of both
/// stages.
inline std::unique_ptr<Orvane::Zel::ShaderProgram>
makeProgram(const char *vertexSource, const char *fragmentSource = kAllWhite,
            Orvane::Zel::GLSLMacroProcessor *processor = nullptr)
{
    auto program = std::make_unique<Orvane::Zel::ShaderProgram>(nullptr);
    program->setMacroProcessor(processor);
    program->addShader(GL_VERTEX_SHADER, vertexSource, QString());
    program->addShader(GL_FRAGMENT_SHADER, fragmentSource, QString());
    EXPECT_TRUE(program->link()) << program->log().toStdString();
    return program;
}
