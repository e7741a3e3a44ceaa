#pragma once

#include "Memory.h"

#include <QtCore/QString>

namespace Orvane { namespace Zel {

/// A file as memory, mapped as a whole for the life of the object.
///
/// \snippet core.cpp MemoryMappedFile
///
/// Errors:  a file that is missing, empty, unreadable or no regular file has the
///          size 0 and null views only.
/// Source:  mmap, private and copy-on-write: views can be written, and the file
///          on disk never changes.
///
/// The file must not be made shorter by others while the object lives.
class ZELCORE_EXPORT MemoryMappedFile : public Memory
{
public:
    explicit MemoryMappedFile(const QString &path);
    ~MemoryMappedFile() override;

    quint64 size() const override;
    unsigned char *map(quint64 offset, quint64 length) override;
    void unmap(const unsigned char *view) override;

private:
    unsigned char *_data = nullptr; ///< the whole file; null when there is none
    quint64 _size = 0;
};

}} // namespace Orvane::Zel
