#pragma once

#include "CoreExport.h"

#include <QtCore/QtGlobal>

namespace Orvane { namespace Zel {

/// A range of bytes from which a reader of a file format reads.
///
/// \snippet core.cpp Memory
///
/// Units:   bytes.
/// Errors:  silent: the view of a range that is not completely inside is null.
/// Source:  RawMemory reads a buffer of the caller, MemoryMappedFile a file.
///
/// Several views may exist at the same time. They are writable and show the same
/// bytes. All views end with the object, whether unmapped or not.
class ZELCORE_EXPORT Memory
{
    Q_DISABLE_COPY(Memory)

public:
    virtual ~Memory();

    virtual quint64 size() const = 0;

    /// Returns a view of \a length bytes at \a offset, or null if they are not all inside.
    virtual unsigned char *map(quint64 offset, quint64 length) = 0;

    /// Ends a view. \a view is any pointer into it, or the one past its last byte.
    virtual void unmap(const unsigned char *view) = 0;

protected:
    Memory() = default;

    /// Returns the range of a block of \a size bytes at \a base, or null if it is not
    /// completely inside.
    static unsigned char *range(unsigned char *base, quint64 size, quint64 offset, quint64 length);
};

}} // namespace Orvane::Zel
