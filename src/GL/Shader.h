#pragma once

#include "Export.h"

#include <QtCore/QObject>
#include <QtCore/QString>

namespace Orvane { namespace Zel {

class GLSLMacroProcessor;

/// One stage of a GLSL program: its processed source, its GL name once compiled,
/// and the driver's log. ShaderProgram constructs and owns the stages.
///
/// \snippet shaders.cpp Shader
///
/// Context: construct in any thread, without a context; compile() and the
///          destructor of a compiled shader need the context current.
/// Errors:  a failed compile returns false and logs the numbered source and the
///          driver's log, line by line, as warnings; compile() may be called again.
/// Source:  OpenGL 2.0, shader objects. Sources go to GL as Latin-1.
class ZELGL_EXPORT Shader : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(Shader)

public:
    /// The GL name of a shader that is not compiled.
    static constexpr unsigned int kShaderNotCompiled = 0;

    /// Expands \a source with GLSLMacroProcessor::process(), without or with a
    /// processor. \a type is the GL stage. \a parent is ignored: the
    /// owner deletes a shader, never a QObject parent.
    Shader(unsigned int type, const QString &source, QObject *parent);
    Shader(unsigned int type, const QString &source, GLSLMacroProcessor *processor, QObject *parent);
    ~Shader() override;

    /// Returns true at once when already compiled.
    bool compile();
    /// Frees the memory of the source; a compiled shader does not need it.
    void clearSource();
    /// Writes the source to a file. A file that does not open is ignored.
    void dumpSourceCode(const QString &path) const;

    bool isCompiled() const;
    /// The driver's log of the last failed compile.
    QString log() const;
    /// The source after processing: what the driver's line numbers refer to.
    QString sourceCode() const;
    unsigned int shaderID() const;
    unsigned int shaderType() const;

private:
    ZELGL_NO_EXPORT void reportFailure() const;

    unsigned int _type;
    QString _source; ///< after processing
    QString _log;
    unsigned int _shaderID = kShaderNotCompiled; ///< GL name
};

}} // namespace Orvane::Zel
