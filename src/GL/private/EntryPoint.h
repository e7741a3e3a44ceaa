#pragma once

#include "../GLUtilities.h"

#include <atomic>

namespace Orvane { namespace Zel {

/// The message of a call that comes before the table of entry points is filled.
constexpr char kNotInitialized[] = "initializeGLFunctions() must be called first";

/// A GL function that the table of GLLoader.h does not contain: null before the first look-up, and if the driver does not have
/// it. `EntryPoint<PFNGLNAMEDBUFFERDATAPROC> namedBufferData;` is compared and called like a pointer.
///
/// Context: lookUp() needs a current one. Threads with a context each may look up and call at the same time.
/// Private to the library.
template <typename Function> class EntryPoint
{
public:
    /// Logs a missing function, unless \a quiet.
    void lookUp(const char *name, bool quiet)
    {
        _function.store(reinterpret_cast<Function>(getGLProcAddress(name, quiet)), std::memory_order_relaxed);
    }

    /// Quiet, and without effect if an earlier call has found the function. Returns whether there is one.
    bool lookUpIfMissing(const char *name)
    {
        if (Function(*this) == nullptr) {
            lookUp(name, true);
            return Function(*this) != nullptr;
        }
        return true;
    }

    operator Function() const { return _function.load(std::memory_order_relaxed); }

private:
    std::atomic<Function> _function{nullptr};
};

}} // namespace Orvane::Zel
