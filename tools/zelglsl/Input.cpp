#include "Input.h"

#include <ZelCore/Resources.h>
#include <ZelGL/GLLoader.h>

#include <QtCore/QCommandLineParser>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <cstdio>

using namespace Orvane;

namespace {

struct Suffix
{
    const char *name;
    const char *letters; ///< at the end of a file's base name
    unsigned int stage;
};

constexpr Suffix kSuffixes[] = {{"vert", "VS", GL_VERTEX_SHADER},
                                {"frag", "FS", GL_FRAGMENT_SHADER},
                                {"geom", "GS", GL_GEOMETRY_SHADER},
                                {"tesc", "TCS", GL_TESS_CONTROL_SHADER},
                                {"tese", "TES", GL_TESS_EVALUATION_SHADER}};

bool readFile(const QString &path, QString &text)
{
    QFile file(path);
    if (path.isEmpty() || QFileInfo(path).isDir() || !file.open(QIODevice::ReadOnly)) {
        return false;
    }
    const QByteArray bytes = file.readAll();
    text = QString::fromUtf8(bytes.constData()); // up to the first zero byte, like the library
    return file.error() == QFileDevice::NoError;
}

/// The parts of NAME=VALUE; VALUE is empty without a sign. Returns false without a NAME.
bool split(const QString &argument, QString &name, QString &value)
{
    name = argument.section(QLatin1Char('='), 0, 0);
    value = argument.section(QLatin1Char('='), 1);
    return !name.isEmpty();
}

QString missingName(const char *option, const QString &argument)
{
    return QStringLiteral("-%1 %2: a name is missing").arg(QLatin1String(option), argument);
}

/// The options that only one command reads.
constexpr struct
{
    const char *option;
    const char *command;
} kCommandOptions[] = {
    {"link", "lint"}, {"compile", "lint"}, {"strict", "lint"}, {"map", "expand"}, {"dot", "graph"}};

} // namespace

void Input::addOptionsTo(QCommandLineParser &parser)
{
    const auto add = [&](const QStringList &names, const char *description, const char *value = "") {
        parser.addOption(QCommandLineOption(names, QLatin1String(description), QLatin1String(value)));
    };
    add({"I", "include"}, "Search includes in this folder too, after those of the library; may repeat.",
        "folder");
    add({"D", "define"}, "Add a define after #version, as GLSLMacroProcessor::addDefine() does; may repeat.",
        "name[=value]");
    add({"M", "macro"}, "Register a macro, as GLSLMacroProcessor::addMacro() does; may repeat.", "name=text");
    add({"P", "plan"}, "Know a plan of instance data. The file has its GLSL declarations; may repeat.",
        "name[=file]");
    add({"L", "link"}, "A further file of each stage, for lint; may repeat.", "file");
    add({"stage"}, "The stage of all files: vert, frag, geom, tesc or tese. Otherwise their names decide.",
        "stage");
    add({"map"}, "expand: print the file and line before each line.");
    add({"dot"}, "graph: print the language of Graphviz.");
    add({"compile"}, "lint: compile with glslangValidator too.");
    add({"strict"}, "lint: warnings fail too.");
}

QString Input::read(const QCommandLineParser &parser, const QString &command)
{
    for (const auto &row : kCommandOptions) {
        if (parser.isSet(QLatin1String(row.option)) && command != QLatin1String(row.command)) {
            return QStringLiteral("--%1 applies to %2, not to %3")
                .arg(QLatin1String(row.option), QLatin1String(row.command), command);
        }
    }
    QString name;
    QString value;
    for (const QString &folder : parser.values(QStringLiteral("include"))) {
        if (!QDir(folder).exists()) {
            return QStringLiteral("-I %1: no such folder").arg(folder);
        }
        processor.addIncludePath(folder);
    }
    for (const QString &define : parser.values(QStringLiteral("define"))) {
        if (!split(define, name, value)) {
            return missingName("D", define);
        }
        processor.addDefine(name, define.contains(QLatin1Char('=')) ? value : QStringLiteral("1"));
    }
    for (const QString &macro : parser.values(QStringLiteral("macro"))) {
        if (!split(macro, name, value)) {
            return missingName("M", macro);
        }
        processor.addMacro(name, value);
    }
    for (const QString &plan : parser.values(QStringLiteral("plan"))) {
        if (!split(plan, name, value)) {
            return missingName("P", plan);
        }
        QString text;
        if (!value.isEmpty() && !readFile(value, text)) {
            return QStringLiteral("-P %1: cannot open %2").arg(name, value);
        }
        plans.insert(name, text);
    }
    const QString stageName = parser.value(QStringLiteral("stage"));
    for (const Suffix &suffix : kSuffixes) {
        stage = stageName == QLatin1String(suffix.name) ? suffix.stage : stage;
    }
    if (!stageName.isEmpty() && stage == 0) {
        return QStringLiteral("--stage %1: the stages are vert, frag, geom, tesc and tese").arg(stageName);
    }
    linked = parser.values(QStringLiteral("link"));
    withMap = parser.isSet(QStringLiteral("map"));
    asDot = parser.isSet(QStringLiteral("dot"));
    withCompiler = parser.isSet(QStringLiteral("compile"));
    isStrict = parser.isSet(QStringLiteral("strict"));
    return QString();
}

bool readSource(const QString &name, QString &path, QString &text)
{
    // The order of ShaderProgram::addShaderFromFile().
    for (const QString &folder :
         {QString(), Zel::resourcesPath() + QStringLiteral("/GLSL/src"), QStringLiteral(":/GLSL/src")}) {
        path = folder.isEmpty() ? name : QDir(folder).filePath(name);
        if (readFile(path, text)) {
            return true;
        }
    }
    return false;
}

unsigned int stageOf(const QString &file)
{
    const QFileInfo info(file);
    for (const Suffix &suffix : kSuffixes) {
        if (info.suffix() == QLatin1String(suffix.name)) {
            return suffix.stage;
        }
    }
    unsigned int stage = 0;
    for (const Suffix &suffix : kSuffixes) {
        stage = info.completeBaseName().endsWith(QLatin1String(suffix.letters)) ? suffix.stage : stage;
    }
    return stage;
}

QString suffixOf(unsigned int stage)
{
    for (const Suffix &suffix : kSuffixes) {
        if (suffix.stage == stage) {
            return QLatin1String(suffix.name);
        }
    }
    return QString();
}

void print(const QString &line)
{
    std::fprintf(stdout, "%s\n", line.toUtf8().constData());
}

void printError(const QString &line)
{
    std::fprintf(stderr, "zelglsl: %s\n", line.toUtf8().constData());
}

int failUsage(const QString &message)
{
    printError(message + QStringLiteral("; see zelglsl --help"));
    return eUsage;
}
