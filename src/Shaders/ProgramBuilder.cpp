#include "ProgramBuilder.h"

#include "../GL/private/ShaderText.h"
#include "ProgramCache.h"
#include "private/FileWatch.h"
#include "private/HeldMessages.h"

#include <ZelCore/Resources.h>
#include <ZelGL/Reporting.h>
#include <ZelGL/ShaderProgram.h>

#include <QtCore/QDir>

#include <algorithm>

namespace Orvane { namespace ZelShaders {

namespace {

const QString kCompileFailure = QStringLiteral("Failed to compile GL shader");
const QString kSourceHeading = QStringLiteral(" =======Source======");
const QString kLogHeading = QStringLiteral(" =======Log=========");

/// The source of the listing that the library logs when a stage does not compile, as the lines of that listing.
QStringList listingOf(const QStringList &messages)
{
    const int start = messages.indexOf(kSourceHeading) + 1;
    return messages.mid(start, messages.indexOf(kLogHeading) - start);
}

/// The first directive that was left out, such as an include of a missing file, as a line. It is the likely cause of
/// what the driver reports.
QString failedDirective(const LineMap &map)
{
    const QVector<LineMap::Failure> failures = map.failures();
    return failures.isEmpty() ? QString()
                              : failures.first().at.toString() + QStringLiteral(": error: ")
                                    + failures.first().message + QLatin1Char('\n');
}

} // namespace

ProgramBuilder::ProgramBuilder(Zel::ShaderProgram &program)
    : _program(program)
{
}

ProgramBuilder::~ProgramBuilder() = default;

bool ProgramBuilder::addShader(int type, const QString &source, const QString &name)
{
    const LineMap map(source, name, _program.getMacroProcessor());
    for (const LineMap::Failure &failure : map.failures()) {
        if (failure.isEndless) {
            _report = failure.at.toString() + QStringLiteral(": error: ") + failure.message;
            Zel::warnLineByLine(_report);
            return false;
        }
    }
    _stages.append({static_cast<unsigned int>(type), map});
    _program.addShader(type, source, QString());
    return true;
}

bool ProgramBuilder::addShaderFromFile(int type, const QString &fileName)
{
    // The folders of ShaderProgram::addShaderFromFile().
    for (const QDir &folder : {QDir(QString()), QDir(Zel::resourcesPath() + QStringLiteral("/GLSL/src")),
                               QDir(QStringLiteral(":/GLSL/src"))}) {
        QString source;
        FileWatch::looksFor(folder.filePath(fileName));
        if (folder.exists() && Zel::readShaderText(folder.filePath(fileName), source)) {
            return addShader(type, source, folder.filePath(fileName));
        }
    }
    _program.addShaderFromFile(type, fileName); // logs
    _report = QStringLiteral("error: couldn't find shader source file '%1'").arg(fileName);
    return false;
}

bool ProgramBuilder::link()
{
    HeldMessages held;
    const bool isLinked = _cache != nullptr ? _cache->link(_program) : _program.link();
    if (isLinked) {
        _report.clear();
        held.release();
        return true;
    }
    const QStringList messages = held.takeWarnings();
    _report = reportOf(messages);
    Zel::warnLineByLine(_report);
    return false;
}

QString ProgramBuilder::reportOf(const QStringList &messages) const
{
    if (!messages.contains(kCompileFailure)) {
        return QStringLiteral("Failed to link the program\n") + ShaderReport::ofLink(_program.log(), _stages);
    }
    // The library does not tell which of its stages failed; its listing has that stage's text.
    const QStringList listing = listingOf(messages);
    for (const ShaderReport::Stage &stage : _stages) {
        QStringList numbered = Zel::numberedLines(stage.map.text()).split(QLatin1Char('\n'));
        numbered.removeLast(); // empty, after the last line break
        if (numbered == listing) {
            const QString cause = failedDirective(stage.map);
            return QStringLiteral("Failed to compile %1, %2\n").arg(stage.map.name(), stageName(stage.type))
                   + cause
                   + ShaderReport::of(_program.log(), stage.map, cause.isEmpty() ? ShaderReport::kPlaces : 1);
        }
    }
    return QStringLiteral(
               "Failed to compile a stage that was not added here: lines are those of its expanded text\n")
           + _program.log();
}

}} // namespace Orvane::ZelShaders
