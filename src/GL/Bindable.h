#pragma once

#include "Export.h"

#include <cstddef>
#include <new>

namespace Orvane { namespace Zel {

/// The base of all wrappers of GL objects. bind() and unbind() return true on success.
///
/// \snippet frame.cpp Bindable
///
/// Context: construct, bind, use, unbind and delete with the same context current. A
///          wrapper stores a GL name, but not its context.
/// Errors:  calls in the wrong order log a message of the class and return false.
///
/// Wrappers derive first from QObject and second from Bindable, so the Bindable* and
/// the QObject* of an object are different addresses.
class ZELGL_EXPORT Bindable
{
public:
    virtual ~Bindable();

    virtual bool bind() = 0;
    virtual bool unbind() = 0;

    // Wrappers of one size are adjacent in memory, in the order of their construction.

    static void *operator new(size_t size);
    static void *operator new(size_t size, const std::nothrow_t &) noexcept;
    static void *operator new(size_t size, void *place) noexcept;
    static void operator delete(void *object, size_t size) noexcept;
    static void operator delete(void *object, const std::nothrow_t &) noexcept;
    static void operator delete(void *object, void *place) noexcept;

    // Classes of a host that need a larger alignment are on the heap.

    static void *operator new(size_t size, std::align_val_t alignment);
    static void *operator new(size_t size, std::align_val_t alignment, const std::nothrow_t &) noexcept;
    static void operator delete(void *object, size_t size, std::align_val_t alignment) noexcept;
    static void operator delete(void *object, std::align_val_t alignment, const std::nothrow_t &) noexcept;
};

}} // namespace Orvane::Zel
