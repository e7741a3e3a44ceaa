#pragma once

#include "Memory.h"

#include <QtCore/QString>

namespace Orvane { namespace Zel {

/// The bytes of a file, which is mapped as a whole for the life of the object.
///
/// \snippet core.cpp MemoryMappedFile
///
/// Errors:  silent: if the file is missing, empty, unreadable or no regular file, the
///          size is 0 and all views are null.
/// Source:  mmap, private and copy-on-write: writing to a view never changes the file
///          on disk.
///
/// No other process may shorten the file while the object exists.
class ZELCORE_EXPORT MemoryMappedFile : public Memory
{
public:
    explicit MemoryMappedFile(const QString &path);
    ~MemoryMappedFile() override;

    quint64 size() const override;
    unsigned char *map(quint64 offset, quint64 length) override;
    void unmap(const unsigned char *view) override;

private:
    unsigned char *_data = nullptr; ///< the whole file, or null
    quint64 _size = 0;
};

}} // namespace Orvane::Zel
