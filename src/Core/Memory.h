#pragma once

#include "CoreExport.h"

#include <QtCore/QtGlobal>

namespace Orvane { namespace Zel {

/// A source of bytes: what a reader of a file format sees of a file.
///
/// \snippet core.cpp Memory
///
/// Units:   bytes.
/// Errors:  a range that is not wholly inside gives a null view; nothing is logged.
/// Source:  RawMemory over a caller's buffer, MemoryMappedFile over a file.
///
/// Several views may be out at once. All of them are writable, and end with the
/// object, given back or not. Views of one object show the same bytes: what is
/// written through one is seen through the others.
class ZELCORE_EXPORT Memory
{
    Q_DISABLE_COPY(Memory)

public:
    virtual ~Memory();

    virtual quint64 size() const = 0;

    /// The bytes from \a offset on, \a length of them; null when they are not there.
    virtual unsigned char *map(quint64 offset, quint64 length) = 0;

    /// Gives a view back. Any pointer into it will do, the one behind its last
    /// byte included.
    virtual void unmap(const unsigned char *view) = 0;

protected:
    Memory() = default;

    /// The range of a block of \a size bytes at \a base; null when it is not wholly inside.
    static unsigned char *range(unsigned char *base, quint64 size, quint64 offset, quint64 length);
};

}} // namespace Orvane::Zel
