#pragma once

#include "DrawCheck.h"
#include "Driver.h"
#include "Outside.h"

#include <string_view>

/// \file
/// What the check does before and after the call of an entry point: specialisations of these templates in the headers DrawHooks.h,
/// ObjectHooks.h and StateHooks.h, which only Watch.cpp includes.

namespace Orvane { namespace ZelCheck {

template <auto Slot> inline constexpr const char *kNameOf = nullptr;

#define ZELCHECK_NAME(name) template <> inline constexpr const char *kNameOf<&name> = #name;
ZELCHECK_CORE_ENTRY_POINTS(ZELCHECK_NAME)
ZELCHECK_EXTENSION_ENTRY_POINTS(ZELCHECK_NAME)
#undef ZELCHECK_NAME
#define ZELCHECK_NAME(name, Function)                                                                        \
    template <> inline constexpr const char *kNameOf<&Outside::name> = #name;
ZELCHECK_OUTSIDE_ENTRY_POINTS(ZELCHECK_NAME)
#undef ZELCHECK_NAME

/// Whether what a draw depends on is the same after the call. Of uniforms only samplers matter, which their hooks count.
constexpr bool keepsState(std::string_view name)
{
    const auto startsWith = [name](std::string_view start) { return name.substr(0, start.size()) == start; };
    return startsWith("glGet") || startsWith("glIs") || startsWith("glMultiDraw")
           || (startsWith("glDraw") && !startsWith("glDrawBuffer"))
           || (startsWith("glUniform") && !startsWith("glUniformBlock"));
}

/// What a call is checked for. The result false leaves the call out.
template <auto Slot> struct Before
{
    template <typename... Arguments> static bool of(Arguments...) { return true; }
};

/// What a call changes in the facts. The result true means that its error has been reported.
template <auto Slot> struct After
{
    template <typename... Arguments> static bool of(GLenum, Arguments...) { return false; }
};

/// What a call has made.
template <auto Slot> struct Made
{
    template <typename Result> static void of(Result) {}
};

/// In a function, because ZELGL_CHECK=1 may start the check before its file is initialised; never destroyed, because static
/// objects of a host may delete GL objects at the end of the process.
DrawCheck &draws();

}} // namespace Orvane::ZelCheck
