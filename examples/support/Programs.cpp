#include "Programs.h"

#include <ZelGL/ZelGL.h>
#include <ZelShaders/ProgramBuilder.h>

#include <QtCore/QFileInfo>

using namespace Orvane::Zel;
using Orvane::ZelShaders::ProgramBuilder;

QString exampleShader(const QString &source)
{
    const QString here = QStringLiteral(EXAMPLES_FOLDER "/") + source;
    return !source.contains('\n') && QFileInfo::exists(here) ? here : source;
}

std::unique_ptr<ShaderProgram> makeProgram(const QString &vertex, const QString &fragment,
                                           TextureManager *manager, GLSLMacroProcessor *processor)
{
    GLSLMacroProcessor own;
    processor = processor != nullptr ? processor : &own;
    processor->addIncludePath(EXAMPLES_FOLDER);
    return ProgramBuilder::build(exampleShader(vertex), exampleShader(fragment), manager, processor);
}
