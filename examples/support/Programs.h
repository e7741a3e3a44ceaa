#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>

namespace Orvane { namespace Zel {
class GLSLMacroProcessor;
class ShaderProgram;
}} // namespace Orvane::Zel

/// The sources of a program. The library's own files go in by name, plans by theirs.
struct ProgramText
{
    QString vertex;
    QString fragment;
    QStringList vertexFiles;   ///< of the library, beside the vertex text
    QStringList fragmentFiles; ///< of the library, beside the fragment text
    QStringList vertexPlans;   ///< whose accessors the vertex text calls
    QStringList fragmentPlans; ///< whose accessors the fragment text calls
};

/// A linked program. \a processor must outlive it.
std::unique_ptr<Orvane::Zel::ShaderProgram> makeProgram(const ProgramText &text,
                                                        Orvane::Zel::GLSLMacroProcessor *processor);
