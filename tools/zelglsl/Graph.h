#pragma once

#include <ZelShaders/LineMap.h>

/// What includes what, as lines of text: each file, below it what it includes, indented; a thing that was printed before has
/// no lines below it.
QStringList graphAsText(const QVector<Orvane::ZelShaders::LineMap> &maps);

/// The same in the language of Graphviz: the given files have bold frames; a dashed arrow leads to a macro that is not
/// registered.
QStringList graphAsDot(const QVector<Orvane::ZelShaders::LineMap> &maps);
