#pragma once

#include "Export.h"

namespace Orvane { namespace Zel {

/// What every GL object wrapper is: a thing that can be bound and unbound, and
/// says whether that worked.
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
};

}} // namespace Orvane::Zel
