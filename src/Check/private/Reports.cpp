#include "Reports.h"

#include <ZelGL/Reporting.h>

#include <QtCore/QStringList>

#include <set>
#include <tuple>
#include <utility>

namespace Orvane { namespace ZelCheck {

namespace {

std::mutex mutex;
std::set<std::tuple<Mistake, quint32, quint64>> reported;

thread_local QStringList waiting; ///< messages to log without the lock
thread_local int seen = 0;

} // namespace

Inside::Inside()
    : _lock(mutex)
{
    _active = true;
}

Inside::~Inside()
{
    pause();
    _active = false;
}

void Inside::pause()
{
    _lock.unlock();
    for (const QString &text : std::exchange(waiting, QStringList())) {
        ZEL_BARE_WARNING("[ZelCheck] %s", qUtf8Printable(text));
    }
}

void report(Mistake mistake, quint32 program, quint64 object, const std::function<QString()> &text)
{
    ++seen;
    if (reported.emplace(mistake, program, object).second) {
        waiting += text();
    }
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
    for (auto place = reported.begin(); place != reported.end();) {
        place = std::get<quint32>(*place) == program ? reported.erase(place) : std::next(place);
    }
}

}} // namespace Orvane::ZelCheck
