#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>

namespace Orvane {

namespace Zel {
class GLSLMacroProcessor;
class ShaderProgram;
} // namespace Zel

namespace ZelKit {

/// The folder of the library's shaders, for the include paths of a processor.
QString shaderFolder();

/// A program of shaders of this library ("smaaEdges.frag") and of libZelGL ("FXAA.glslc"), whose fragment stage writes
/// out_FragColor. \a vertexFile: empty for a full-screen pass with vo_TexCoord. Null with a message if it does not link; the
/// report on the shaders is logged.
std::unique_ptr<Zel::ShaderProgram> buildProgram(Zel::GLSLMacroProcessor &processor,
                                                 const QString &vertexFile, const QStringList &fragmentFiles,
                                                 QString *error);

/// Draws the full-screen quad with a program that is bound.
void drawFullscreen(Zel::ShaderProgram &program);

} // namespace ZelKit
} // namespace Orvane
