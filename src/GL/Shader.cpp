#include "Shader.h"

#include "GLSLMacroProcessor.h"
#include "GLUtilities.h"
#include "private/EntryPoint.h"
#include "private/ShaderText.h"

#include <QtCore/QFile>
#include <QtCore/QTextStream>

namespace Orvane { namespace Zel {

namespace {

const char *stageName(unsigned int type)
{
    switch (type) {
    case GL_VERTEX_SHADER:
        return "GL_VERTEX_SHADER";
    case GL_FRAGMENT_SHADER:
        return "GL_FRAGMENT_SHADER";
    case GL_GEOMETRY_SHADER:
        return "GL_GEOMETRY_SHADER";
    case GL_TESS_EVALUATION_SHADER:
        return "GL_TESS_EVALUATION_SHADER";
    case GL_TESS_CONTROL_SHADER:
        return "GL_TESS_CONTROL_SHADER";
    default:
        return "unknown";
    }
}

} // namespace

// Both constructors ignore their parent: the program deletes its shaders, and a parent could
// delete them first; see ShaderTest.ItsTextIsProcessedWhenItIsMadeAndCompiledOnceAsLatin1.
Shader::Shader(unsigned int type, const QString &source, QObject *parent)
    : Shader(type, source, nullptr, parent)
{
}

Shader::Shader(unsigned int type, const QString &source, GLSLMacroProcessor *processor, QObject *)
    : QObject(nullptr)
    , _type(type)
    , _source(GLSLMacroProcessor::process(source, processor))
{
}

Shader::~Shader()
{
    if (isCompiled()) {
        glDeleteShader(_shaderID);
    }
}

bool Shader::compile()
{
    if (isCompiled()) {
        return true;
    }
    ZEL_ASSERT_RETURN(nullptr != glCreateShader, false, kNotInitialized);
    _shaderID = glCreateShader(_type);
    // Latin-1, one byte for each character, so that positions in the log of the driver match the source; see
    // ShaderTest.ItsTextIsProcessedWhenItIsMadeAndCompiledOnceAsLatin1.
    const QByteArray source = _source.toLatin1();
    const GLchar *const text = source.constData();
    const GLint length = source.size();
    glShaderSource(_shaderID, 1, &text, &length);
    glCompileShader(_shaderID);
    GLint compiled = 0;
    glGetShaderiv(_shaderID, GL_COMPILE_STATUS, &compiled);
    if (compiled != 0) {
        return true;
    }
    _log = driverLog(_shaderID, glGetShaderiv, glGetShaderInfoLog);
    // The source is logged with it: the driver counts lines of the processed text, which no file has.
    reportFailure();
    glDeleteShader(_shaderID);
    // So that the next compile() tries again; the log stays. See
    // ShaderTest.AFailedCompileReportsStageNumberedSourceAndLogAndCanBeRepeated.
    _shaderID = kShaderNotCompiled;
    return false;
}

void Shader::clearSource()
{
    _source = QString();
}

void Shader::dumpSourceCode(const QString &path) const
{
    QFile file(path);
    // Qt warns about an empty name.
    if (!path.isEmpty() && file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        QTextStream(&file) << _source;
    }
}

bool Shader::isCompiled() const
{
    return _shaderID != kShaderNotCompiled;
}

QString Shader::log() const
{
    return _log;
}

QString Shader::sourceCode() const
{
    return _source;
}

unsigned int Shader::shaderID() const
{
    return _shaderID;
}

unsigned int Shader::shaderType() const
{
    return _type;
}

void Shader::reportFailure() const
{
    QString message = QStringLiteral("Failed to compile GL shader\n");
    message += QStringLiteral(" Shader Type = %1\n").arg(QLatin1String(stageName(_type)));
    message += QStringLiteral(" =======Source======\n");
    message += numberedLines(_source);
    message += QStringLiteral(" =======Log=========\n");
    message += _log;
    warnLineByLine(message);
}

}} // namespace Orvane::Zel
