#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

namespace Orvane { namespace ZelShaders {

/// Whether the line that ends with the line break at \a offset ends with a backslash, which joins it to the next one.
bool isJoined(const QString &text, int offset);

/// The offset at which each line of a text starts; the first one is 0. Lines end as in GLSL: by a carriage return, a line
/// feed, or one of each.
QVector<int> lineStarts(const QString &text);

/// The index of the line with the character at \a offset, from 0.
int lineAt(const QVector<int> &starts, int offset);

/// A line by its index, without its line break.
QString lineText(const QString &text, const QVector<int> &starts, int index);

/// The text without comments, each replaced by blanks; line breaks stay. A backslash at its end continues a comment, as in
/// GLSL 4.20 and in the compilers of older versions.
QString withoutComments(const QString &text);

}} // namespace Orvane::ZelShaders
