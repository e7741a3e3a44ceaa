#include "AbortTrap.h"

#include <csetjmp>
#include <csignal>
#include <cstdlib>

namespace {

std::jmp_buf gReturn;
bool gArmed = false;

} // namespace

/// Replaces the C library's abort() in the whole process, including the shared libraries.
extern "C" __attribute__((visibility("default"), noreturn)) void abort() noexcept
{
    if (gArmed) {
        gArmed = false;
        std::longjmp(gReturn, 1);
    }
    std::signal(SIGABRT, SIG_DFL);
    std::raise(SIGABRT);
    std::_Exit(127);
}

bool endsInAbort(const std::function<void()> &function)
{
    if (setjmp(gReturn) != 0) {
        return true;
    }
    gArmed = true;
    function();
    gArmed = false;
    return false;
}
