#pragma once

#include "Export.h"

#include <cstddef>

namespace Orvane { namespace Zel {

/// What every GL object wrapper is: a thing that can be bound and unbound, and
/// says whether that worked.
///
/// \snippet frame.cpp Bindable
///
/// Context: create, bind, use, unbind and destroy with one and the same context
///          current; a wrapper stores a GL name and remembers no context.
/// Errors:  a wrong order of calls is diagnosed by the class and answered with false.
///
/// The wrappers derive first from QObject and second from Bindable, so a
/// Bindable* is not the address of the QObject*.
class ZELGL_EXPORT Bindable
{
public:
    virtual ~Bindable();

    virtual bool bind() = 0;
    virtual bool unbind() = 0;

    // Wrappers lie side by side in memory, in the order in which they were made.

    static void *operator new(size_t size);
    static void *operator new(size_t size, void *place) noexcept;
    static void operator delete(void *object, size_t size) noexcept;
    static void operator delete(void *object, void *place) noexcept;
};

}} // namespace Orvane::Zel
