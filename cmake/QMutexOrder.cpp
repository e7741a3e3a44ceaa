// QtCore is built without the thread sanitizer, which so does not see what its mutexes order.

#include <QtCore/QMutex>

#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

using Function = void (*)(QMutex *);

void QMutex::lock() noexcept
{
    static const auto next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "_ZN6QMutex4lockEv"));
    next(this);
    __tsan_acquire(this);
}

void QMutex::unlock() noexcept
{
    static const auto next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "_ZN6QMutex6unlockEv"));
    __tsan_release(this);
    next(this);
}
