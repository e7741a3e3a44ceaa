#pragma once

#include "frame/Outcome.h"

#include <QtCore/QStringList>

/// \file
/// What the program says: results on stdout, messages on stderr, one line each, and what becomes of the messages of
/// Qt and of the library.

namespace zelview { namespace Console {

/// Takes Qt's messages over. Debug messages are shown only if \a verbose.
///
/// Until setGraphicsStarted() is called, warnings are kept back too, since Qt remarks on the machine's set-up; and Qt's way to say
/// that there is no display, a fatal message, becomes one line and ExitCode::eGL.
void install(bool verbose);

/// The graphics stand: from now on what the library reports is shown.
void setGraphicsStarted();

/// Keeps back what is said about a file while it is read, by Qt, by the library and by the decoders below them, which
/// write on stderr themselves: whoever reads has the better line. Where a reader ends the process, as the Radiance reader
/// does at a run that leaves its row, its last words become the line, and the end is ExitCode::eInput. Does not nest.
class Collector
{
    Q_DISABLE_COPY(Collector)

public:
    Collector();
    ~Collector();

    /// The messages of the library and of Qt since the last Collector was made, without their places in the source.
    static QStringList messages();
};

/// A line on stdout.
void printLine(const QString &line);

/// "zelview: " and a line on stderr: how far long work has come.
void printProgress(const QString &line);

/// The same for what went wrong.
void printError(const QString &line);

/// printError() of a problem, and its exit code as a number.
int reportProblem(const Problem &problem);

}} // namespace zelview::Console
