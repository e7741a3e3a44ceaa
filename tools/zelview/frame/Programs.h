#pragma once

#include "frame/Outcome.h"

#include <ZelGL/GLSLMacroProcessor.h>

#include <QtCore/QSharedPointer>
#include <QtCore/QString>
#include <QtCore/QStringList>

namespace Orvane { namespace Zel {
class ShaderProgram;
}} // namespace Orvane::Zel

namespace zelview {

using ProgramPointer = QSharedPointer<Orvane::Zel::ShaderProgram>;

/// Builds zelview's programs, all from one text processor: its own shaders stand in ":/zelview/shaders", those of the
/// library are found by their names.
///
/// Context: setUp() asks DrawBuffers how draw IDs travel, so that is settled first. Build with the context current.
/// Errors:  a shader that does not compile or link is ExitCode::eGL; the library logs the driver's words.
class Programs
{
    Q_DISABLE_COPY(Programs)

public:
    Programs();
    ~Programs();

    /// For defines and macros of those who own a feature of the shaders; counts for programs built later.
    Orvane::Zel::GLSLMacroProcessor *processor() { return &_processor; }

    /// A program of the files named; "ZelUtilities..." and "passthroughVS.glslc" are the library's. The texts are
    /// compilation units that stand in no file.
    Expected<ProgramPointer> build(const QStringList &vertexFiles, const QStringList &fragmentFiles,
                                   const QStringList &vertexTexts = {},
                                   const QStringList &fragmentTexts = {});

    /// A program for drawFullscreen() with this fragment stage.
    Expected<ProgramPointer> buildFullscreen(const QString &fragmentFile);

private:
    Orvane::Zel::GLSLMacroProcessor _processor;
};

/// Draws the library's full-screen quad with a program that is bound.
void drawFullscreen(Orvane::Zel::ShaderProgram *program);

} // namespace zelview
