#include "file/Console.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>

using Orvane::ZelKit::MessageCollector;
using Orvane::ZelKit::MessageLog;

namespace zeltools { namespace Console {

namespace {

QString gPrefix;

std::unique_ptr<MessageLog> gLog;
bool gVerbose = false;
bool gStarted = false;
const MessageCollector *gCollector = nullptr;
QStringList gMessages;   ///< of the last Collector
int gStandardError = -1; ///< copy of the descriptor, while stderr is redirected

/// Returning would make Qt abort the process.
void endAtFatal(const QString &text)
{
    printError(gStarted ? text
                        : QStringLiteral("no display to draw on (is DISPLAY set and its server running?)"));
    std::_Exit(int(ExitCode::eGL));
}

void openStandardError()
{
    std::fflush(stderr);
    ::dup2(gStandardError, STDERR_FILENO);
    ::close(gStandardError);
}

/// Not limited to functions that are safe in signal handlers: abort() raises the signal, at a known place of this thread.
void endInsteadOfAbort(int)
{
    openStandardError();
    const QStringList said = Collector::messages();
    std::_Exit(
        reportProblem({ExitCode::eInput, said.isEmpty() ? QStringLiteral("the reader of the file aborted")
                                                        : said.last().simplified()}));
}

void writeLine(std::FILE *stream, const QString &line)
{
    const QByteArray bytes = line.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
    std::fputc('\n', stream);
    std::fflush(stream);
}

} // namespace

void install(const char *program)
{
    gPrefix = QLatin1String(program) + QStringLiteral(": ");
    MessageLog::Options options;
    options.prefix = gPrefix;
    options.level = QtCriticalMsg;
    gLog = std::make_unique<MessageLog>(options);
    gLog->onFatal(endAtFatal);
}

void setVerbose()
{
    gVerbose = true;
    gLog->setLevel(QtDebugMsg);
}

void setGraphicsStarted()
{
    gStarted = true;
    if (gLog != nullptr && !gVerbose) {
        gLog->setLevel(QtWarningMsg);
    }
}

Collector::Collector()
{
    gCollector = &_collector;
    std::signal(SIGABRT, endInsteadOfAbort);
    std::fflush(stderr);
    gStandardError = ::dup(STDERR_FILENO);
    const int nowhere = ::open("/dev/null", O_WRONLY);
    ::dup2(nowhere, STDERR_FILENO);
    ::close(nowhere);
}

Collector::~Collector()
{
    openStandardError();
    std::signal(SIGABRT, SIG_DFL);
    gMessages = _collector.messages();
    gCollector = nullptr;
}

QStringList Collector::messages()
{
    return gCollector != nullptr ? gCollector->messages() : gMessages;
}

void printLine(const QString &line)
{
    writeLine(stdout, line);
}

void printProgress(const QString &line)
{
    writeLine(stderr, gPrefix + line);
}

void printError(const QString &line)
{
    printProgress(line);
}

int reportProblem(const Problem &problem)
{
    printError(problem.text);
    return int(problem.code);
}

int finish(const Failure &failure)
{
    if (failure) {
        return reportProblem(*failure);
    }
    return std::ferror(stdout) != 0
               ? reportProblem({ExitCode::eFile, QStringLiteral("cannot write the output")})
               : int(ExitCode::eOk);
}

}} // namespace zeltools::Console
