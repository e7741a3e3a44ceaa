#pragma once

#include "Memory.h"

namespace Orvane { namespace Zel {

/// The bytes of a buffer of the caller. The buffer must outlive this object, which never
/// frees it. Writing to a view writes to the buffer.
///
/// \snippet core.cpp RawMemory
class ZELCORE_EXPORT RawMemory : public Memory
{
public:
    /// The size of a null buffer is 0, whatever \a size is.
    RawMemory(unsigned char *data, unsigned long size);
    ~RawMemory() override;

    quint64 size() const override;
    unsigned char *map(quint64 offset, quint64 length) override;
    void unmap(const unsigned char *view) override;

private:
    unsigned char *_data; ///< borrowed
    quint64 _size;
};

}} // namespace Orvane::Zel
