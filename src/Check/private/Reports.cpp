#include "Reports.h"

#include "ProgramFacts.h"

#include <ZelGL/Reporting.h>

#include <QtCore/QFile>

#include <set>
#include <tuple>
#include <utility>

namespace Orvane { namespace ZelCheck {

namespace {

// Never destroyed: static objects of a host may delete GL objects at the end of the process.
std::mutex &mutex = *new std::mutex;
std::set<std::tuple<Mistake, SharedName, quint64>> &reported =
    *new std::set<std::tuple<Mistake, SharedName, quint64>>;

thread_local int seen = 0;

/// Mistakes without a program are the same in every context.
SharedName keyOf(quint32 program)
{
    return program != 0 ? sharedName(program) : SharedName();
}

/// For hosts whose log is not seen, such as programs that a test starts.
void appendToFile(const QString &text)
{
    const QString path = qEnvironmentVariable("ZELGL_CHECK_LOG");
    if (!path.isEmpty()) {
        QFile file(path);
        if (file.open(QIODevice::Append)) {
            file.write(text.toUtf8() + '\n');
        }
    }
}

} // namespace

Inside::Inside()
    : _outer(_current)
    , _lock(mutex)
{
    _current = this;
}

Inside::~Inside()
{
    pause();
    _current = _outer;
}

void Inside::pause()
{
    _lock.unlock();
    for (const QString &text : std::exchange(_waiting, QStringList())) {
        logLine(text);
    }
}

void report(Mistake mistake, quint32 program, quint64 object, const std::function<QString()> &text)
{
    ++seen;
    if (reported.emplace(mistake, keyOf(program), object).second) {
        Inside::current()->log(text());
    }
}

void logLine(const QString &text)
{
    ZEL_BARE_WARNING("[ZelCheck] %s", qUtf8Printable(text));
    appendToFile(text);
}

int mistakesSeen()
{
    return seen;
}

void forgetReports()
{
    reported.clear();
}

void forgetReportsOf(quint32 program)
{
    if (program == 0) {
        return; // GL ignores the deletion of it
    }
    const SharedName key = keyOf(program);
    for (auto place = reported.begin(); place != reported.end();) {
        place = std::get<SharedName>(*place) == key ? reported.erase(place) : std::next(place);
    }
}

}} // namespace Orvane::ZelCheck
