#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

namespace Orvane { namespace ZelShaders {

/// The offset at which each line of a text starts; the first one is 0. Lines end as in GLSL: by a carriage return, a line
/// feed, or one of each.
QVector<int> lineStarts(const QString &text);

/// The index of the line with the character at \a offset, from 0.
int lineAt(const QVector<int> &starts, int offset);

/// A line by its index, without its line break.
QString lineText(const QString &text, const QVector<int> &starts, int index);

/// The text without comments, each replaced by a blank; line breaks stay.
QString withoutComments(const QString &text);

}} // namespace Orvane::ZelShaders
