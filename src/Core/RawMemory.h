#pragma once

#include "Memory.h"

namespace Orvane { namespace Zel {

/// A view of a buffer of the caller's, which must outlive this object and is
/// never freed by it. What a reader writes into a view is written into the buffer.
///
/// \snippet core.cpp RawMemory
class ZELCORE_EXPORT RawMemory : public Memory
{
public:
    /// A null buffer has the size 0, whatever is said.
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
