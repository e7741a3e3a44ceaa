#include "GLSLMacroProcessor.h"

#include "InstanceDataPlan.h"
#include "InstanceDataRegistry.h"
#include "Reporting.h"
#include "ShaderText.h"

#include <ZelCore/Resources.h>

namespace Orvane { namespace Zel {

namespace {

const QLatin1String kInclude("#include");
const QLatin1String kInstanceData("#instancedata");
const QLatin1String kMacro("#macro");
const QLatin1String kVersion("#version");

bool isLineEnd(QChar c)
{
    return c == QLatin1Char('\n') || c == QLatin1Char('\r');
}

/// The declarations of a plan; false for an unknown name.
bool findPlanDeclarations(const QString &name, QString &text)
{
    const InstanceDataPlan *plan = InstanceDataRegistry::Instance()->getPlan(name);
    if (plan == nullptr) {
        return false;
    }
    text = plan->glslh();
    return true;
}

/// The text of an include, from the first folder that has the file; false after
/// a warning when the line names no file, or none is found.
bool findInclude(const QString &line, const QString &fileName, const QList<QDir> &includePaths, QString &text)
{
    if (fileName.isEmpty()) {
        ZEL_BARE_WARNING("Cannot extract include filename from '%s'", line.toUtf8().constData());
        return false;
    }
    for (const QDir &folder : includePaths) {
        if (readShaderText(folder.filePath(fileName), text)) {
            return true;
        }
    }
    ZEL_BARE_WARNING("Failed to open include file '%s'", fileName.toUtf8().constData());
    return false;
}

} // namespace

/// One run of process(): the whole tree of a source goes into one text.
class GLSLMacroProcessor::Expander
{
public:
    explicit Expander(const GLSLMacroProcessor &processor)
        : _processor(processor)
    {
    }

    QString result;

    void expand(const QString &source)
    {
        result.reserve(result.size() + source.size());
        const QChar *const text = source.constData();
        int copied = 0; // what stands before it is in the result
        int sign = -1;
        while ((sign = source.indexOf(QLatin1Char('#'), sign + 1)) >= 0) {
            const int indent = indentOf(text, sign);
            if (indent < 0 || !mayBeDirective(source.midRef(sign), indent)) {
                continue; // no expression could match: ordinary text
            }
            const int end = lineEnd(source, sign);
            const QString line(text + sign - indent, end - sign + indent);
            result.append(text + copied, sign - copied);
            copied = sign;
            if (expandLine(line)) {
                copied = end; // the line's own break is copied with what follows
                sign = end - 1;
            }
        }
        result.append(text + copied, source.size() - copied);
    }

private:
    /// The number of blanks before the sign, or -1 where something else stands
    /// in front of it on its line.
    static int indentOf(const QChar *text, int sign)
    {
        int start = sign;
        while (start > 0 && text[start - 1].isSpace() && !isLineEnd(text[start - 1])) {
            --start;
        }
        return start == 0 || isLineEnd(text[start - 1]) ? sign - start : -1;
    }

    static int lineEnd(const QString &source, int from)
    {
        while (from < source.size() && !isLineEnd(source.at(from))) {
            ++from;
        }
        return from;
    }

    static bool mayBeDirective(const QStringRef &text, int indent)
    {
        if (indent == 0) {
            return text.startsWith(kInclude) || text.startsWith(kMacro) || text.startsWith(kInstanceData)
                   || text.startsWith(kVersion);
        }
        return text.startsWith(kMacro); // the only one that may be indented
    }

    bool expandLine(const QString &line)
    {
        if (_macro.exactMatch(line)) {
            expandReplacement(_processor._macros.value(_macro.cap(1), _macro.cap(2)));
            return true;
        }
        QString text;
        if (_instanceData.exactMatch(line)) {
            if (findPlanDeclarations(_instanceData.cap(1), text)) {
                expandReplacement(text);
            }
            return true;
        }
        if (_include.exactMatch(line)) {
            if (findInclude(line, _include.cap(1), _processor._includePaths, text)) {
                expandReplacement(text);
            }
            return true;
        }
        if (line.startsWith(kVersion)) {
            result += line + QLatin1Char('\n') + _processor.defineLines();
            return true;
        }
        return false;
    }

    void expandReplacement(const QString &text)
    {
        expand(text);
        result += QLatin1Char('\n');
    }

    const GLSLMacroProcessor &_processor;
    const QRegExp _macro{QStringLiteral("^\\s*#macro\\s*([^\\s]*)\\s([^\\n\\r]*)\\s*$")};
    const QRegExp _instanceData{QStringLiteral("^#instancedata *\"([^\"]*)\"\\s*$")};
    const QRegExp _include{QStringLiteral("^#include *\"([^\"]*)\"\\s*$")};
};

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
    Expander expander(*processor);
    expander.expand(source);
    return expander.result;
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
    QString text;
    findInclude(line, regExp.cap(1), processor->_includePaths, text);
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
        line = regExp.cap(2); // not processed, unlike the default text in process()
    }
}

void GLSLMacroProcessor::processLineMaterial(QString &line, QRegExp &regExp, GLSLMacroProcessor *processor)
{
    QString text;
    if (line.startsWith(kInstanceData) && regExp.indexIn(line) >= 0
        && findPlanDeclarations(regExp.cap(1), text)) {
        line = process(text, processor);
    }
}

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
