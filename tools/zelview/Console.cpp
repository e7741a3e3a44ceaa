#include "Console.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QtGlobal>

#include <cstdio>
#include <cstdlib>

namespace zelview { namespace Console {

namespace {

bool gVerbose = false;
bool gStarted = false;
bool gCollecting = false;
QString gLastWarning;

/// The least level that is shown.
bool isShown(QtMsgType level)
{
    return gVerbose || level == QtCriticalMsg || (gStarted && level == QtWarningMsg);
}

void handleMessage(QtMsgType level, const QMessageLogContext &, const QString &text)
{
    if (level == QtFatalMsg) {
        complain(gStarted ? text
                          : QStringLiteral("no display to draw on (is DISPLAY set and its server running?)"));
        std::_Exit(int(ExitCode::eGL)); // returning would make Qt abort the process
    }
    if (gCollecting && level == QtWarningMsg) {
        gLastWarning = text;
    } else if (isShown(level)) {
        complain(text);
    }
}

void print(std::FILE *stream, const QString &line)
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

void started()
{
    gStarted = true;
}

Collector::Collector()
{
    gCollecting = true;
    gLastWarning.clear();
}

Collector::~Collector()
{
    gCollecting = false;
}

QString Collector::lastWarning() const
{
    static const QRegularExpression kPlace(QStringLiteral("^\\[[^\\]]*:\\d+\\] "));
    return QString(gLastWarning).remove(kPlace);
}

void say(const QString &line)
{
    print(stdout, line);
}

void complain(const QString &line)
{
    print(stderr, QStringLiteral("zelview: ") + line);
}

int end(const Problem &problem)
{
    complain(problem.text);
    return int(problem.code);
}

}} // namespace zelview::Console
