#pragma once

#include "../ShaderReport.h"

namespace Orvane { namespace ZelShaders {

/// A line of the expanded text of a stage.
struct NamedPlace
{
    const LineMap *map; ///< of the stage
    int line;
};

/// The declarations that a message without a line is about, by the name that it quotes: a variable that stages declare
/// differently, a function that has two bodies or calls itself. Empty for other messages.
QVector<NamedPlace> namedPlaces(const QString &message, const QVector<ShaderReport::Stage> &stages);

}} // namespace Orvane::ZelShaders
