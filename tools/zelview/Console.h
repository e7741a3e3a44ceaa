#pragma once

#include "Outcome.h"

/// \file
/// What the program says: results on stdout, complaints on stderr, one line each, and what becomes of the messages of
/// Qt and of the library.

namespace zelview { namespace Console {

/// Takes Qt's messages over. Debug messages are shown only if \a verbose.
///
/// Until started() is called, warnings are kept back too, since Qt remarks on the machine's set-up; and Qt's way to say
/// that there is no display, a fatal message, becomes one line and ExitCode::eGL.
void install(bool verbose);

/// The graphics stand: from now on what the library reports is shown.
void started();

/// Keeps warnings back in its scope, for those who have a better line for what went wrong. Does not nest.
class Collector
{
    Q_DISABLE_COPY(Collector)

public:
    Collector();
    ~Collector();

    /// What the last warning said, without the place in the source that it came from; empty when there was none.
    QString lastWarning() const;
};

/// A line on stdout.
void say(const QString &line);

/// "zelview: " and a line on stderr.
void complain(const QString &line);

/// complain() of a problem, and its exit code as a number.
int end(const Problem &problem);

}} // namespace zelview::Console
