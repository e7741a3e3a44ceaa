#pragma once

#include <QtCore/QStringList>

/// Prints cause and remedy of each message of the index that is part of the text; "-" reads the standard input and explains each
/// message once. Returns eSuccess, eFindings if no message is known, or eUsage without a text.
int explain(const QStringList &words);
