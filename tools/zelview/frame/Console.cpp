#include "frame/Console.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QtGlobal>

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>

namespace zelview { namespace Console {

namespace {

bool gVerbose = false;
bool gStarted = false;
bool gCollecting = false;
QStringList gMessages;   ///< of a Collector
int gStandardError = -1; ///< copy of the descriptor, while stderr is redirected

/// Whether messages of this level are shown.
bool isShown(QtMsgType level)
{
    return gVerbose || level == QtCriticalMsg || (gStarted && level == QtWarningMsg);
}

void handleMessage(QtMsgType level, const QMessageLogContext &, const QString &text)
{
    if (level == QtFatalMsg) {
        printError(gStarted
                       ? text
                       : QStringLiteral("no display to draw on (is DISPLAY set and its server running?)"));
        std::_Exit(int(ExitCode::eGL)); // returning would make Qt abort the process
    }
    if (gCollecting && level != QtDebugMsg) {
        gMessages.append(text);
    } else if (isShown(level)) {
        printError(text);
    }
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

void install(bool verbose)
{
    gVerbose = verbose;
    qInstallMessageHandler(handleMessage);
}

void setGraphicsStarted()
{
    gStarted = true;
}

Collector::Collector()
{
    gMessages.clear();
    gCollecting = true;
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
    gCollecting = false;
}

QStringList Collector::messages()
{
    static const QRegularExpression kPlace(QStringLiteral("^\\[[^\\]]*:\\d+\\] "));
    QStringList messages = gMessages;
    messages.replaceInStrings(kPlace, QString());
    return messages;
}

void printLine(const QString &line)
{
    writeLine(stdout, line);
}

void printProgress(const QString &line)
{
    writeLine(stderr, QStringLiteral("zelview: ") + line);
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

}} // namespace zelview::Console
