#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

namespace Orvane { namespace ZelShaders {

/// A message of a driver about a shader.
struct DriverMessage
{
    int line;         ///< of the expanded text; 0 if the driver names none
    QString severity; ///< "error" or "warning"; empty if the driver names none
    QString text;
    unsigned int stage; ///< GL stage, if a heading of the log names one; else 0
};

/// The messages of a log in the forms of Mesa, NVIDIA, AMD and Intel, without headings, counts and empty lines.
QVector<DriverMessage> parseDriverLog(const QString &log);

/// The functions that are called but not defined, in the order of the log, each once.
QStringList missingFunctions(const QString &log);

}} // namespace Orvane::ZelShaders
