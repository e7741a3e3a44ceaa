// Compares the text processor with a simple reference implementation that works line by line.

#include <ZelGL/GLSLMacroProcessor.h>

#include <QtCore/QFile>
#include <QtCore/QRegExp>

#include <cstdlib>
#include <iterator>

using Orvane::Zel::GLSLMacroProcessor;

namespace {

const QMap<QString, QString> kMacros{{"VERSION", "#version 430"}, {"NESTED", "a\n#macro NONE default\r#b"}};
const QMap<QString, QString> kDefines{{"B", "2"}, {"A", "1"}};

QString model(const QString &source);

QString modelInclude(const QString &fileName)
{
    QFile file(":/GLSL/include/" + fileName);
    if (fileName.isEmpty() || !file.open(QIODevice::ReadOnly)) {
        return QString();
    }
    return model(QString::fromUtf8(file.readAll().constData())) + '\n';
}

QString modelLine(const QString &line)
{
    static const QRegExp macro("^\\s*#macro\\s*([^\\s]*)\\s([^\\n\\r]*)\\s*$");
    static const QRegExp instanceData("^#instancedata *\"([^\"]*)\"\\s*$");
    static const QRegExp include("^#include *\"([^\"]*)\"\\s*$");
    const QString indent = line.left(line.indexOf('#'));
    QRegExp match(macro);
    if (match.exactMatch(line)) {
        return indent + model(kMacros.value(match.cap(1), match.cap(2))) + '\n';
    }
    match = instanceData;
    if (match.exactMatch(line)) {
        return QString(); // no plan is registered
    }
    match = include;
    if (match.exactMatch(line)) {
        return modelInclude(match.cap(1));
    }
    return line.startsWith("#version") ? line + "\n#define A 1\n#define B 2\n" : line;
}

QString model(const QString &source)
{
    QString result;
    QString line;
    for (const QChar c : source) {
        if (c == '\n' || c == '\r') {
            result += modelLine(line) + c;
            line.clear();
        } else {
            line += c;
        }
    }
    return result + modelLine(line);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    const QString source = QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<int>(size));
    // Excludes paths that leave the include folder, since they depend on the machine, and paths with a zero byte, which the
    // system truncates.
    static const QRegExp strayPath("#include *\"(/|[^\"]*[/.][/.])");
    if (source.contains(strayPath) || source.contains(QChar::Null)) {
        return 0;
    }
    GLSLMacroProcessor processor;
    for (auto macro = kMacros.begin(); macro != kMacros.end(); ++macro) {
        processor.addMacro(macro.key(), macro.value());
    }
    for (auto define = kDefines.begin(); define != kDefines.end(); ++define) {
        processor.addDefine(define.key(), define.value());
    }
    if (GLSLMacroProcessor::process(source, &processor) != model(source)) {
        std::abort();
    }
    return 0;
}
