#include "MissingFunctions.h"

#include "Conditions.h"

#include <QtCore/QSet>

#include <algorithm>

namespace Orvane { namespace ZelShaders {

namespace {

struct Scan
{
    const ShaderReport::Stage *stage;
    FunctionIndex::Functions functions;
};

QVector<Scan> scansOf(const QVector<ShaderReport::Stage> &stages)
{
    QVector<Scan> scans;
    for (const ShaderReport::Stage &stage : stages) {
        scans.append({&stage, FunctionIndex::scan(Conditions::liveText(stage.map.text()))});
    }
    return scans;
}

/// The line of a function in a list of places; 0 if it is not there.
int lineOf(const QString &function, const QVector<FunctionIndex::Place> &places)
{
    const auto place = std::find_if(places.begin(), places.end(),
                                    [&](const FunctionIndex::Place &at) { return at.function == function; });
    return place != places.end() ? place->line : 0;
}

} // namespace

QString MissingFunctions::namesInWords() const
{
    constexpr int kShown = 3;
    QStringList words;
    for (const QString &name : names.mid(0, kShown)) {
        words.append(name + QLatin1String("()"));
    }
    const int more = names.size() - words.size();
    const QString last = more > 0           ? QStringLiteral("%1 more").arg(more)
                         : words.size() > 1 ? words.takeLast()
                                            : QString();
    return words.join(QLatin1String(", ")) + (last.isEmpty() ? QString() : QStringLiteral(" and ") + last);
}

QVector<MissingFunctions> groupMissing(const QStringList &functions,
                                       const QVector<ShaderReport::Stage> &stages, const FunctionIndex &index)
{
    QVector<MissingFunctions> groups;
    const QVector<Scan> scans = scansOf(stages);
    for (const QString &function : functions) {
        const auto scan = std::find_if(scans.begin(), scans.end(), [&](const Scan &at) {
            return lineOf(function, at.functions.called) > 0;
        });
        const bool isCalled = scan != scans.end();
        const int prototype = isCalled ? lineOf(function, scan->functions.declared) : 0;
        const MissingFunctions group{
            isCalled ? scan->stage : nullptr,
            isCalled ? lineOf(function, scan->functions.called) : 0,
            {function},
            linkAdvice(function, isCalled ? scan->stage->type : 0,
                       prototype > 0 ? scan->stage->map.origin(prototype).name : QString(), index)};
        const auto same = std::find_if(groups.begin(), groups.end(), [&](const MissingFunctions &at) {
            return at.stage == group.stage && at.advice == group.advice && !at.advice.isEmpty();
        });
        if (same != groups.end()) {
            same->names.append(function);
        } else {
            groups.append(group);
        }
    }
    return groups;
}

QVector<UndefinedFunction> undefinedFunctions(const QVector<ShaderReport::Stage> &stages)
{
    QSet<QString> defined;
    QHash<QString, LineMap::Origin> declared;
    QStringList called;
    for (const Scan &scan : scansOf(stages)) {
        for (const FunctionIndex::Place &place : scan.functions.defined) {
            defined.insert(place.function);
        }
        for (const FunctionIndex::Place &place : scan.functions.declared) {
            if (!declared.contains(place.function)) {
                declared.insert(place.function, scan.stage->map.origin(place.line));
            }
        }
        for (const FunctionIndex::Place &place : scan.functions.called) {
            called.append(place.function);
        }
    }
    called.removeDuplicates();
    QVector<UndefinedFunction> missing;
    for (const QString &function : qAsConst(called)) {
        if (declared.contains(function)
            && !defined.contains(function)) { // others are functions of the language
            missing.append({function, declared.value(function)});
        }
    }
    return missing;
}

QStringList definedFunctions(const LineMap &map)
{
    QStringList names;
    for (const FunctionIndex::Place &place : FunctionIndex::scan(Conditions::liveText(map.text())).defined) {
        names.append(place.function);
    }
    return names;
}

}} // namespace Orvane::ZelShaders
