#pragma once

#include "FunctionIndex.h"
#include "LineMap.h"

namespace Orvane { namespace ZelShaders {

/// The log of a driver in the lines of the host's own files.
///
/// A report has a line "file:line: error: text" for each place that the log names, with at most three lines of the source
/// below it, and ends with the path of a file that holds the whole expanded text. Errors come before warnings. Messages
/// that repeat are folded, and those of one line and severity are joined. The forms of Mesa, NVIDIA, AMD and Intel are known; lines of another form stay as they are.
///
/// \snippet diagnosis.cpp ShaderReport
///
/// Units:   lines count from 1.
/// Context: none; any thread. The maps belong to the caller.
/// Errors:  a text that cannot be written is reported in the last line.
class ZELSHADERS_EXPORT ShaderReport
{
public:
    /// The number of places that a report shows; the last line has the number of the others.
    static constexpr int kPlaces = 2;

    struct Stage
    {
        unsigned int type; ///< GL stage
        LineMap map;
    };

    /// The report of a failed compile.
    static QString of(const QString &log, const LineMap &map, int places = kPlaces);
    /// The report of a failed link: a function that no stage defines has the place of its first call and the call that
    /// links a library file with it.
    static QString ofLink(const QString &log, const QVector<Stage> &stages, int places = kPlaces);

    /// Writes the text to a file in the folder for temporary files, once in a process for each text. Returns the path,
    /// or an empty string if that fails.
    static QString writeText(const LineMap &map);
};

}} // namespace Orvane::ZelShaders
