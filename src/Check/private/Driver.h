#pragma once

#include "EntryPoints.h"

#include <ZelGL/GLLoader.h>

namespace Orvane { namespace ZelCheck {

/// The functions that the wrappers forward to, for the check's own calls: other wrappers, such as those that count calls, do
/// not see them.
struct Driver
{
// The macros of the loader rename a member like the slot of the table: `driver.glClear` works as written.
#define ZELCHECK_MEMBER(name) decltype(::name) name = nullptr;
    ZELCHECK_CORE_ENTRY_POINTS(ZELCHECK_MEMBER)
    ZELCHECK_EXTENSION_ENTRY_POINTS(ZELCHECK_MEMBER)
#undef ZELCHECK_MEMBER
};

extern Driver driver;

inline GLint integer(GLenum name)
{
    GLint value = 0;
    driver.glGetIntegerv(name, &value);
    return value;
}

}} // namespace Orvane::ZelCheck
