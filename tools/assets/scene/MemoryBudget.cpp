#include "scene/MemoryBudget.h"

#include <algorithm>
#include <fstream>

#include <unistd.h>

namespace zeltools {

namespace {

quint64 pageSize()
{
    return quint64(::sysconf(_SC_PAGESIZE));
}

/// The memory that RLIMIT_DATA counts; 0 if it is unknown.
quint64 dataInUse()
{
    std::ifstream statm("/proc/self/statm");
    quint64 size = 0, resident = 0, shared = 0, text = 0, library = 0, data = 0;
    statm >> size >> resident >> shared >> text >> library >> data;
    return statm ? data * pageSize() : 0;
}

} // namespace

MemoryBudget::MemoryBudget(quint64 bytes)
    : _before{RLIM_INFINITY, RLIM_INFINITY}
{
    const quint64 inUse = dataInUse();
    if (::getrlimit(RLIMIT_DATA, &_before) == 0 && inUse > 0) {
        rlimit limit = _before;
        limit.rlim_cur = std::min<rlim_t>(inUse + bytes, _before.rlim_cur);
        ::setrlimit(RLIMIT_DATA, &limit);
    }
}

MemoryBudget::~MemoryBudget()
{
    ::setrlimit(RLIMIT_DATA, &_before);
}

quint64 MemoryBudget::half()
{
    return quint64(::sysconf(_SC_PHYS_PAGES)) / 2 * pageSize();
}

} // namespace zeltools
