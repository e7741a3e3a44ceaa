#include "GLSLMacroProcessor.h"

#include "Reporting.h"
#include "private/InstanceDataText.h"
#include "private/MacroExpander.h"

#include <ZelCore/Resources.h>

namespace Orvane { namespace Zel {

namespace {

const QLatin1String kInclude("#include");
const QLatin1String kInstanceData("#instancedata");

void warnOfInclude(const QString &line, const QString &fileName)
{
    if (fileName.isEmpty()) {
        ZEL_BARE_WARNING("Cannot extract include filename from '%s'", line.toUtf8().constData());
    } else {
        ZEL_BARE_WARNING("Failed to open include file '%s'", fileName.toUtf8().constData());
    }
}

/// The expansion of process(): logs failures and keeps no record.
class PlainExpansion final : public MacroExpansion
{
public:
    bool planText(const QString &name, QString &text, int) override { return instanceDataText(name, text); }
    void includeFails(const QString &line, const QString &fileName, int) override
    {
        warnOfInclude(line, fileName);
    }
    bool enter(Kind, const QString &, const QString &, int) override { return true; }
    void leave() override {}
    void copies(int, int) override {}
    void defines(int) override {}
};

} // namespace

GLSLMacroProcessor::GLSLMacroProcessor()
    : _includePaths{QDir(resourcesPath() + QStringLiteral("/GLSL/include")),
                    QDir(QStringLiteral(":/GLSL/include"))}
{
}

GLSLMacroProcessor::~GLSLMacroProcessor() = default;

void GLSLMacroProcessor::addIncludePath(const QString &path)
{
    _includePaths.append(QDir(path));
}

void GLSLMacroProcessor::addDefine(const QString &name, const QString &value)
{
    _defines[name] = value;
}

void GLSLMacroProcessor::addMacro(const QString &name, const QString &value)
{
    _macros[name] = value;
}

void GLSLMacroProcessor::removeDefine(const QString &name)
{
    _defines.remove(name);
}

void GLSLMacroProcessor::removeMacro(const QString &name)
{
    _macros.remove(name);
}

QString GLSLMacroProcessor::process(const QString &source, GLSLMacroProcessor *processor)
{
    if (processor == nullptr) {
        GLSLMacroProcessor temporary;
        return process(source, &temporary);
    }
    PlainExpansion expansion;
    return expandShaderText(*processor, source, expansion);
}

QString GLSLMacroProcessor::processDefines(GLSLMacroProcessor *processor)
{
    return processor != nullptr ? processor->defineLines() : QString();
}

void GLSLMacroProcessor::processLineInclude(QString &line, QRegExp &regExp, GLSLMacroProcessor *processor)
{
    if (!line.startsWith(kInclude)) {
        return;
    }
    if (processor == nullptr) {
        GLSLMacroProcessor temporary;
        processLineInclude(line, regExp, &temporary);
        return;
    }
    regExp.indexIn(line);
    QString path;
    QString text;
    if (!readInclude(regExp.cap(1), processor->_includePaths, path, text, [](const QString &) {})) {
        warnOfInclude(line, regExp.cap(1));
    }
    line = process(text, processor);
}

void GLSLMacroProcessor::processLineMacro(QString &line, QRegExp &regExp, GLSLMacroProcessor *processor)
{
    if (regExp.indexIn(line) < 0) {
        return;
    }
    if (processor != nullptr && processor->_macros.contains(regExp.cap(1))) {
        line = process(processor->_macros.value(regExp.cap(1)), processor);
    } else {
        // Required: not processed, unlike in process(); see
        // GLSLMacroProcessorTest.SingleLinesExpandInPlaceByTheHostsOwnExpressions.
        line = regExp.cap(2);
    }
}

void GLSLMacroProcessor::processLineMaterial(QString &line, QRegExp &regExp, GLSLMacroProcessor *processor)
{
    QString text;
    if (line.startsWith(kInstanceData) && regExp.indexIn(line) >= 0
        && instanceDataText(regExp.cap(1), text)) {
        line = process(text, processor);
    }
}

// The map is sorted by name, so that the same defines give the same text and the same hash of a program.
QString GLSLMacroProcessor::defineLines() const
{
    QString lines;
    for (auto define = _defines.cbegin(); define != _defines.cend(); ++define) {
        lines +=
            QLatin1String("#define ") + define.key() + QLatin1Char(' ') + define.value() + QLatin1Char('\n');
    }
    return lines;
}

}} // namespace Orvane::Zel
