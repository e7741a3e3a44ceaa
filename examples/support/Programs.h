#pragma once

#include <QtCore/QString>

#include <memory>

namespace Orvane { namespace Zel {
class GLSLMacroProcessor;
class ShaderProgram;
class TextureManager;
}} // namespace Orvane::Zel

/// A text, or the path of a file of the examples if there is one of this name.
QString exampleShader(const QString &source);

/// A program of two stages, with what ProgramBuilder::addLibrary() adds. A stage is a text, or the name of a file of this folder or
/// of the library. \a processor: for defines; null for none.
std::unique_ptr<Orvane::Zel::ShaderProgram> makeProgram(const QString &vertex, const QString &fragment,
                                                        Orvane::Zel::TextureManager *manager = nullptr,
                                                        Orvane::Zel::GLSLMacroProcessor *processor = nullptr);
