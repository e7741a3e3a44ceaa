#pragma once

#include "file/Outcome.h"

#include <ZelKit/MessageLog.h>

#include <QtCore/QStringList>

/// \file
/// The output of a program: results on stdout, errors on stderr, one line each; and the handling of the messages of Qt and of
/// the library.

namespace zeltools { namespace Console {

/// Installs the handler for Qt's messages. \a program: the name before each line on stderr.
///
/// Before setGraphicsStarted(), warnings are hidden too, since Qt warns about details of the machine's set-up. If there is
/// no display, Qt reports a fatal message, which becomes one line and ExitCode::eGL.
void install(const char *program);

/// From now on shows debug messages.
void setVerbose();

/// To be called when the library has started: from now on its warnings are shown.
void setGraphicsStarted();

/// While it exists, collects the messages of Qt and the library about a file that is being read, and discards what
/// decoders write to stderr: the caller prints one better line. If a reader aborts the process, as the Radiance reader
/// does at a run that exceeds its row, its last message becomes that line, and the exit code is ExitCode::eInput. Does
/// not nest.
class Collector
{
    Q_DISABLE_COPY(Collector)

public:
    Collector();
    ~Collector();

    /// The messages since the last Collector was constructed, without source file and line.
    static QStringList messages();

private:
    Orvane::ZelKit::MessageCollector _collector;
};

/// Prints a line on stdout.
void printLine(const QString &line);

/// Prints the name of the program and a line on stderr: the progress of a long operation.
void printProgress(const QString &line);

/// The same for an error.
void printError(const QString &line);

/// Prints the text of a problem, and returns its exit code as a number.
int reportProblem(const Problem &problem);

/// Returns the exit code of the program, after the text of the failure if there is one. It is a failure too if the output
/// could not be written.
int finish(const Failure &failure);

}} // namespace zeltools::Console
