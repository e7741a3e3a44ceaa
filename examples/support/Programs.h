#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>

namespace Orvane { namespace Zel {
class GLSLMacroProcessor;
class ShaderProgram;
}} // namespace Orvane::Zel

/// The sources of a program: texts, names of the library's files, and names of plans.
struct ProgramText
{
    QString vertex;
    QString fragment;
    QStringList vertexFiles;   ///< files of the library, in addition to the vertex text
    QStringList fragmentFiles; ///< files of the library, in addition to the fragment text
    QStringList vertexPlans;   ///< plans whose accessors the vertex text calls
    QStringList fragmentPlans; ///< plans whose accessors the fragment text calls
};

/// A linked program. \a processor must outlive it.
std::unique_ptr<Orvane::Zel::ShaderProgram> makeProgram(const ProgramText &text,
                                                        Orvane::Zel::GLSLMacroProcessor *processor);
