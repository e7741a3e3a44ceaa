#include "ShaderReport.h"

#include "private/DriverLog.h"
#include "private/MissingFunctions.h"
#include "private/NamedPlaces.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QMap>
#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>
#include <QtCore/QTemporaryFile>

#include <algorithm>
#include <functional>

namespace Orvane { namespace ZelShaders {

namespace {

constexpr int kMaxColumns = 160;
constexpr int kMaxJoined = 3; ///< messages of one line

/// The messages of a log for one line of the text.
struct Place
{
    const LineMap *map; ///< null for a message without a line
    int line;           ///< of the expanded text
    QString severity;
    QStringList texts;
    QStringList alsoAt; ///< further origins of the same message
};

QString originText(const LineMap &map, int line)
{
    const LineMap::Origin origin = map.origin(line);
    return origin.line > 0 ? origin.toString() : QStringLiteral("line %1 of the text").arg(line);
}

/// Folds messages that repeat, and joins those of one line and severity. Warnings come last: a report shows only a few places.
QVector<Place> placesOf(const QVector<DriverMessage> &messages, const QVector<ShaderReport::Stage> &stages,
                        const std::function<const LineMap *(const DriverMessage &)> &mapOf)
{
    QVector<Place> places;
    for (const DriverMessage &message : messages) {
        const LineMap *const map = message.line > 0 ? mapOf(message) : nullptr;
        const QVector<NamedPlace> named =
            message.line > 0 ? QVector<NamedPlace>() : namedPlaces(message.text, stages);
        const QString text = map == nullptr && message.line > 0
                                 ? QStringLiteral("line %1: %2").arg(message.line).arg(message.text)
                                 : message.text;
        const auto same = std::find_if(places.begin(), places.end(), [&](const Place &place) {
            return place.severity == message.severity && place.texts.contains(text);
        });
        if (same != places.end()) {
            const QString origin = map != nullptr ? originText(*map, message.line) : QString();
            if (map != nullptr && same->line != message.line && !same->alsoAt.contains(origin)) {
                same->alsoAt.append(origin);
            }
            continue;
        }
        const auto here = std::find_if(places.begin(), places.end(), [&](const Place &place) {
            return map != nullptr && place.map == map && place.line == message.line
                   && place.severity == message.severity;
        });
        if (here != places.end()) {
            here->texts.append(text);
        } else if (!named.isEmpty()) {
            places.append({named.first().map, named.first().line, message.severity, {text}, {}});
            for (const NamedPlace &other : named.mid(1)) {
                places.last().alsoAt.append(originText(*other.map, other.line));
            }
        } else {
            places.append({map, message.line, message.severity, {text}, {}});
        }
    }
    std::stable_partition(places.begin(), places.end(),
                          [](const Place &place) { return place.severity != QLatin1String("warning"); });
    return places;
}

QString headingOf(const Place &place)
{
    QString heading = place.map != nullptr ? originText(*place.map, place.line) : QString();
    QStringList chain;
    if (place.map != nullptr) {
        for (const LineMap::Origin &from : place.map->includedFrom(place.line)) {
            chain.append(from.toString());
        }
    }
    if (!chain.isEmpty()) {
        heading += QStringLiteral(" (from %1)").arg(chain.join(QLatin1String(", ")));
    }
    heading += heading.isEmpty() ? QString() : QStringLiteral(": ");
    heading += place.severity.isEmpty() ? QString() : place.severity + QLatin1String(": ");
    heading += QStringList(place.texts.mid(0, kMaxJoined)).join(QLatin1String("; "));
    if (!place.alsoAt.isEmpty()) {
        heading += QStringLiteral(" (also at %1%2)")
                       .arg(QStringList(place.alsoAt.mid(0, kMaxJoined)).join(QLatin1String(", ")),
                            place.alsoAt.size() > kMaxJoined ? QStringLiteral(", ...") : QString());
    }
    return heading;
}

/// The line of the place, with \a around lines before and after it.
QStringList excerptOf(const Place &place, int around)
{
    QStringList lines;
    const LineMap::Origin origin = place.map != nullptr ? place.map->origin(place.line) : LineMap::Origin();
    const int last = origin.line > 0 ? place.map->sourceLineCount(origin) : 0;
    for (int line = std::max(1, origin.line - around); line <= std::min(last, origin.line + around); ++line) {
        const QString source = place.map->sourceLine({origin.kind, origin.name, line});
        lines.append(QStringLiteral("%1%2 | %3")
                         .arg(line == origin.line ? QLatin1Char('>') : QLatin1Char(' '))
                         .arg(line, 5)
                         .arg(source.left(kMaxColumns)));
    }
    return lines;
}

/// The lines of the places, and the number of messages that are left out.
QStringList linesOf(const QVector<Place> &all, int places, int &omitted)
{
    QStringList lines;
    omitted = std::max(0, all.size() - places);
    for (int i = 0; i < std::min(places, all.size()); ++i) {
        lines.append(headingOf(all.at(i)));
        lines +=
            excerptOf(all.at(i), i == 0 ? 1 : 0); // the lines around the first only: it may cause the others
    }
    return lines;
}

QString lastLine(const QVector<ShaderReport::Stage> &stages, int omitted)
{
    QStringList paths;
    for (const ShaderReport::Stage &stage : stages) {
        const QString path = ShaderReport::writeText(stage.map);
        paths.append(path.isEmpty() ? QStringLiteral("cannot write to ") + QDir::tempPath() : path);
    }
    const QString more = omitted == 0   ? QString()
                         : omitted == 1 ? QStringLiteral("1 more message; ")
                                        : QStringLiteral("%1 more messages; ").arg(omitted);
    return more + QStringLiteral("whole text: ") + paths.join(QLatin1String(", "));
}

/// Whether a driver says that a stage has no main(); it names no file.
bool saysWithoutMain(const DriverMessage &message)
{
    return message.text.contains(QLatin1String("lacks `main'"))
           || message.text.contains(QLatin1String("no program defined"));
}

/// A line for each kind of stage whose texts do not define main().
QStringList linesWithoutMain(const QVector<ShaderReport::Stage> &stages)
{
    QMap<unsigned int, QStringList> texts; // by kind
    QSet<unsigned int> complete;
    for (const ShaderReport::Stage &stage : stages) {
        texts[stage.type].append(stage.map.name());
        if (definedFunctions(stage.map).contains(QLatin1String("main"))) {
            complete.insert(stage.type);
        }
    }
    QStringList lines;
    for (auto kind = texts.begin(); kind != texts.end(); ++kind) {
        if (!complete.contains(kind.key())) {
            lines.append(QStringLiteral("error: %1 has no main(): no text of %2 defines it")
                             .arg(stageName(kind.key()), kind->join(QLatin1String(", "))));
        }
    }
    return lines;
}

/// The lines about functions that no stage defines.
QStringList linesOfMissing(const MissingFunctions &missing)
{
    const Place place{missing.stage != nullptr ? &missing.stage->map : nullptr,
                      missing.line,
                      QStringLiteral("error"),
                      {QStringLiteral("no stage defines ") + missing.namesInWords()},
                      {}};
    return QStringList(headingOf(place)) + excerptOf(place, 0)
           + QStringList(missing.advice.isEmpty() ? QStringLiteral("no file of the library has it")
                                                  : missing.advice);
}

} // namespace

QString ShaderReport::of(const QString &log, const LineMap &map, int places)
{
    int omitted = 0;
    const QVector<Stage> stages{{0, map}};
    const QVector<Place> all =
        placesOf(parseDriverLog(log), stages, [&](const DriverMessage &) { return &stages.first().map; });
    const QStringList lines = linesOf(all, places, omitted);
    return (lines + QStringList(lastLine(stages, omitted))).join(QLatin1Char('\n'));
}

QString ShaderReport::ofLink(const QString &log, const QVector<Stage> &stages, int places)
{
    QVector<DriverMessage> messages = parseDriverLog(log);
    const QStringList functions = missingFunctions(log);
    const QVector<MissingFunctions> groups = groupMissing(functions, stages, FunctionIndex::library());
    QStringList lines;
    for (const MissingFunctions &missing : groups.mid(0, places)) {
        lines += linesOfMissing(missing);
    }
    const QRegularExpression missingName(QStringLiteral("\\b(%1)\\b").arg(functions.join(QLatin1Char('|'))));
    const auto saysMissing = [&](const DriverMessage &message) {
        return message.text.contains(QLatin1String("No function definition (body) found"))
               || (!functions.isEmpty() && message.text.contains(missingName));
    };
    messages.erase(std::remove_if(messages.begin(), messages.end(), saysMissing), messages.end());
    if (std::any_of(messages.begin(), messages.end(), saysWithoutMain)) {
        const QStringList withoutMain = linesWithoutMain(stages);
        if (!withoutMain.isEmpty()) {
            messages.erase(std::remove_if(messages.begin(), messages.end(), saysWithoutMain), messages.end());
        }
        lines += withoutMain;
    }
    const auto mapOf = [&](const DriverMessage &message) -> const LineMap * {
        const LineMap *only = nullptr; // a wrong file is worse than none
        for (const Stage &stage : stages) {
            if (stage.type == message.stage || message.stage == 0) {
                if (only != nullptr) {
                    return nullptr;
                }
                only = &stage.map;
            }
        }
        return only;
    };
    int omitted = 0;
    lines += linesOf(placesOf(messages, stages, mapOf), places, omitted);
    omitted += std::max(0, groups.size() - places);
    return (lines + QStringList(lastLine(stages, omitted))).join(QLatin1Char('\n'));
}

QString ShaderReport::writeText(const LineMap &map)
{
    static QMutex mutex;
    static QHash<QByteArray, QString> written;
    const QByteArray bytes = map.text().toUtf8();
    const QString name = QFileInfo(map.name()).fileName().replace(QLatin1Char(' '), QLatin1Char('-'));
    const QByteArray key = QCryptographicHash::hash(name.toUtf8() + '\0' + bytes, QCryptographicHash::Md5);
    const QMutexLocker locker(&mutex);
    QString &path = written[key];
    if (!path.isEmpty() && QFileInfo::exists(path)) {
        return path;
    }
    QTemporaryFile file(QDir::temp().filePath(QStringLiteral("zelgl-XXXXXX-") + name));
    file.setAutoRemove(false);
    const bool isWritten = file.open() && file.write(bytes) == bytes.size() && file.flush();
    path = isWritten ? file.fileName() : QString();
    return path;
}

}} // namespace Orvane::ZelShaders
