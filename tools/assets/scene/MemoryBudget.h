#pragma once

#include <QtCore/QtGlobal>

#include <sys/resource.h>

namespace zeltools {

/// While it exists, limits the additional memory of the process. Allocations beyond the limit fail with std::bad_alloc
/// instead of exhausting the machine: a small file can claim any size.
///
/// Units:  bytes.
/// Errors: silently sets no limit if the system does not support it.
class MemoryBudget
{
    Q_DISABLE_COPY(MemoryBudget)

public:
    explicit MemoryBudget(quint64 bytes);
    ~MemoryBudget();

    /// Half of the machine's memory, in bytes.
    static quint64 half();

private:
    rlimit _before;
};

} // namespace zeltools
