#include "Soak.h"

#include "Sanitizer.h"

#include <cstdio>
#include <unistd.h>

#if ZELGL_ADDRESS_SANITIZER
extern "C" size_t __sanitizer_get_current_allocated_bytes(); // gcc has no header for it
#endif

namespace {

#if ZELGL_ADDRESS_SANITIZER

/// The memory in use, in bytes. The sanitizer keeps freed memory, so this must query the sanitizer.
qint64 memoryInUse()
{
    return qint64(__sanitizer_get_current_allocated_bytes());
}

#else

/// The memory in use, in bytes; the second number of statm is the number of resident pages.
qint64 memoryInUse()
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

#endif

} // namespace

testing::AssertionResult soak(int runs, const std::function<void()> &operation, qint64 allowedBytes)
{
    const int warmUp = runs / 10;
    qint64 before = 0;
    for (int run = 0; run < runs; ++run) {
        if (run == warmUp) {
            before = memoryInUse();
        }
        operation();
    }
    const qint64 grown = memoryInUse() - before;
    if (grown <= allowedBytes) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "Memory in use grew by " << grown << " bytes in " << runs - warmUp
                                       << " runs; " << allowedBytes << " are allowed";
}
