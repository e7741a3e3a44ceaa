#include "Soak.h"

#include <cstdio>
#include <unistd.h>

namespace {

/// Bytes; the second number of statm counts the resident pages.
qint64 residentMemory()
{
    long long pages = 0;
    if (std::FILE *file = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(file, "%*s %lld", &pages) != 1) {
            ADD_FAILURE() << "/proc/self/statm has another form than expected";
        }
        std::fclose(file);
    }
    return pages * sysconf(_SC_PAGESIZE);
}

} // namespace

testing::AssertionResult soak(int runs, const std::function<void()> &operation, qint64 allowedBytes)
{
    const int warmUp = runs / 10;
    qint64 before = 0;
    for (int run = 0; run < runs; ++run) {
        if (run == warmUp) {
            before = residentMemory();
        }
        operation();
    }
    const qint64 grown = residentMemory() - before;
    if (grown <= allowedBytes) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "Resident memory grew by " << grown << " bytes in " << runs - warmUp
                                       << " runs; " << allowedBytes << " are allowed";
}
