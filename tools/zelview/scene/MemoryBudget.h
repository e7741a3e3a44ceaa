#pragma once

#include <QtCore/QtGlobal>

#include <sys/resource.h>

namespace zelview {

/// Lets the process take so much more memory in its scope, and makes what asks for more fail with std::bad_alloc, rather
/// than the machine with it: small files can claim to be of any size.
///
/// Units:  bytes.
/// Errors: without a word where the system does not say or allow it; the scope is unbounded then.
class MemoryBudget
{
    Q_DISABLE_COPY(MemoryBudget)

public:
    explicit MemoryBudget(quint64 bytes);
    ~MemoryBudget();

    /// Half of the machine's memory.
    static quint64 half();

private:
    rlimit _before;
};

} // namespace zelview
