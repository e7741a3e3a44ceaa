#include "NamedPlaces.h"

#include "Conditions.h"
#include "TextLines.h"

#include <QtCore/QRegularExpression>

#include <algorithm>

namespace Orvane { namespace ZelShaders {

namespace {

struct Definition
{
    unsigned int stage;
    NamedPlace place;
};

QVector<NamedPlace> definitionsOf(const QString &function, const QVector<ShaderReport::Stage> &stages,
                                  int leastInStage)
{
    QVector<Definition> definitions;
    for (const ShaderReport::Stage &stage : stages) {
        for (const auto &at : FunctionIndex::scan(Conditions::liveText(stage.map.text())).defined) {
            if (at.function == function) {
                definitions.append({stage.type, {&stage.map, at.line}});
            }
        }
    }
    QVector<NamedPlace> places;
    for (const Definition &definition : qAsConst(definitions)) {
        const auto inStage =
            std::count_if(definitions.begin(), definitions.end(),
                          [&](const Definition &other) { return other.stage == definition.stage; });
        if (inStage >= leastInStage) {
            places.append(definition.place);
        }
    }
    return places;
}

/// The first line of each text with the name: GLSL declares before it uses.
QVector<NamedPlace> firstPlacesOf(const QString &name, const QVector<ShaderReport::Stage> &stages)
{
    const QRegularExpression word(QStringLiteral("\\b%1\\b").arg(name));
    QVector<NamedPlace> places;
    for (const ShaderReport::Stage &stage : stages) {
        const QString text = Conditions::liveText(stage.map.text());
        const int at = text.indexOf(word);
        if (at >= 0) {
            places.append({&stage.map, lineAt(lineStarts(text), at) + 1});
        }
    }
    return places;
}

} // namespace

QVector<NamedPlace> namedPlaces(const QString &message, const QVector<ShaderReport::Stage> &stages)
{
    static const QRegularExpression quoted(
        QStringLiteral("[`'\"](?:\\w+ )?(?<name>[A-Za-z_]\\w*)(?:\\([^'\"]*\\))?['\"]"));
    static const QRegularExpression differs(QStringLiteral("declared|match"));
    static const QRegularExpression isTwice(QStringLiteral("multiply defined|static recursion"));
    const QString name = quoted.match(message).captured(QStringLiteral("name"));
    const QRegularExpressionMatch twice = isTwice.match(message);
    if (name.isEmpty()) {
        return {};
    }
    if (twice.hasMatch()) {
        return definitionsOf(name, stages, twice.captured() == QLatin1String("multiply defined") ? 2 : 1);
    }
    return differs.match(message).hasMatch() ? firstPlacesOf(name, stages) : QVector<NamedPlace>();
}

}} // namespace Orvane::ZelShaders
