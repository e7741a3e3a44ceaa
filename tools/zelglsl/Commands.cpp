#include "Commands.h"

#include "Graph.h"

#include <ZelShaders/ShaderLint.h>
#include <ZelShaders/ShaderReport.h>

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <cstdio>

using namespace Orvane::ZelShaders;

namespace {

/// A file with the stage that it belongs to; 0 for a library file, which may belong to any.
struct Source
{
    LineMap map;
    unsigned int stage;
};

/// Reads and expands files. Reports those that do not open, and returns false if there is one.
bool readAll(Input &input, const QStringList &files, QVector<Source> &sources)
{
    bool areRead = true;
    for (const QString &file : files) {
        QString path;
        QString text;
        if (readSource(file, path, text)) {
            sources.append({LineMap(text, path, &input.processor, &input.plans),
                            input.stage != 0 ? input.stage : stageOf(path)});
        } else {
            printError(QStringLiteral("cannot open %1, which is neither a file nor a stage of the library")
                           .arg(file));
            areRead = false;
        }
    }
    return areRead;
}

QVector<LineMap> mapsOf(const QVector<Source> &sources)
{
    QVector<LineMap> maps;
    for (const Source &source : sources) {
        maps.append(source.map);
    }
    return maps;
}

void printFailures(const LineMap &map)
{
    for (const LineMap::Failure &failure : map.failures()) {
        printError(failure.at.toString() + QStringLiteral(": ") + failure.message);
    }
}

/// The findings in the stages: for each, the files of that stage and the library files together.
QVector<ShaderLint::Finding> stageFindings(const QVector<Source> &sources)
{
    QVector<unsigned int> stages;
    for (const Source &source : sources) {
        if (source.stage != 0 && !stages.contains(source.stage)) {
            stages.append(source.stage);
        }
    }
    QVector<ShaderLint::Finding> findings;
    for (const unsigned int stage : stages) {
        QVector<LineMap> maps;
        for (const Source &source : sources) {
            if (source.stage == stage || source.stage == 0) {
                maps.append(source.map);
            }
        }
        findings += ShaderLint::lintStage(maps, stage);
    }
    return findings;
}

/// Compiles a file with the reference compiler, as a fragment stage if the stage is unknown. Returns whether it accepts it.
bool compiles(const Source &source, bool &isMissing)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("text"));
    QFile file(path);
    const QByteArray bytes = source.map.text().toLatin1();
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        printError(QStringLiteral("cannot write %1").arg(path));
        return false;
    }
    file.close();
    const QString stage = suffixOf(source.stage);
    QProcess compiler;
    compiler.start(QStringLiteral("glslangValidator"),
                   {QStringLiteral("-S"), stage.isEmpty() ? QStringLiteral("frag") : stage, path});
    isMissing = !compiler.waitForStarted();
    constexpr int kForever = -1;
    if (isMissing || !compiler.waitForFinished(kForever)) {
        return isMissing;
    }
    if (compiler.exitStatus() == QProcess::NormalExit && compiler.exitCode() == 0) {
        return true;
    }
    QStringList lines;
    for (const QString &line : QString::fromUtf8(compiler.readAll()).split(QLatin1Char('\n'))) {
        if (line != path) { // a heading
            lines.append(line);
        }
    }
    constexpr int kAllPlaces = 20;
    const QString report = ShaderReport::of(lines.join(QLatin1Char('\n')), source.map, kAllPlaces);
    QFile::remove(ShaderReport::writeText(source.map)); // a user can expand it
    print(report.left(report.lastIndexOf(QLatin1Char('\n'))));
    return false;
}

} // namespace

int expand(Input &input)
{
    QVector<Source> sources;
    int code = readAll(input, input.files, sources) ? eSuccess : eNoFile;
    for (const Source &source : qAsConst(sources)) {
        printFailures(source.map);
        code = source.map.failures().isEmpty() || code != eSuccess ? code : eFindings;
        if (!input.withMap) {
            const QByteArray bytes = source.map.text().toUtf8();
            std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
            continue;
        }
        for (int line = 1; line <= source.map.lineCount(); ++line) {
            print(source.map.origin(line).toString() + QLatin1Char('\t') + source.map.line(line));
        }
    }
    return code;
}

int lint(Input &input)
{
    QVector<Source> sources;
    if (!readAll(input, input.files, sources)) {
        return eNoFile;
    }
    const int given = sources.size();
    if (!readAll(input, input.linked, sources)) {
        return eNoFile;
    }
    for (int i = given; i < sources.size(); ++i) {
        sources[i].stage = 0; // linked to every stage
    }
    QVector<ShaderLint::Finding> findings;
    for (int i = 0; i < given; ++i) {
        findings += ShaderLint::lint(sources.at(i).map);
    }
    findings += stageFindings(sources);
    bool fails = false;
    for (const ShaderLint::Finding &finding : qAsConst(findings)) {
        print(finding.toString());
        fails = fails || finding.severity == ShaderLint::eError
                || (input.isStrict && finding.severity == ShaderLint::eWarning);
    }
    bool isMissing = false;
    for (int i = 0; i < given && input.withCompiler && !isMissing; ++i) {
        fails = !compiles(sources.at(i), isMissing) || fails;
    }
    if (isMissing) {
        printError(QStringLiteral("glslangValidator is not installed: nothing was compiled"));
        return eNoFile;
    }
    return fails ? eFindings : eSuccess;
}

int graph(Input &input)
{
    QVector<Source> sources;
    if (!readAll(input, input.files, sources)) {
        return eNoFile;
    }
    const QVector<LineMap> maps = mapsOf(sources);
    for (const LineMap &map : maps) {
        printFailures(map);
    }
    print((input.asDot ? graphAsDot(maps) : graphAsText(maps)).join(QLatin1Char('\n')));
    return eSuccess;
}
