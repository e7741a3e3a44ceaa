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

/// Builds zelview's shader programs with one text processor. Its own shaders are in ":/zelview/shaders"; the library finds
/// its shaders by their names.
///
/// Context: build with the context current, after startLibrary(), which selects how draw IDs reach the shaders.
/// Errors:  ExitCode::eGL for a shader that does not compile or link; the library logs the driver's message.
class Programs
{
    Q_DISABLE_COPY(Programs)

public:
    Programs();
    ~Programs();

    /// Each owner of a shader feature adds its defines and macros here; they apply to programs that are built later.
    Orvane::Zel::GLSLMacroProcessor *processor() { return &_processor; }

    /// A program of these files; "ZelUtilities..." and "passthroughVS.glslc" are files of the library. The texts are
    /// additional compilation units.
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
