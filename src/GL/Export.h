#pragma once

/// \file
/// Visibility of the symbols of libZelGL, which is built with hidden visibility: what carries ZELGL_EXPORT is its surface.

#define ZELGL_EXPORT __attribute__((visibility("default")))

/// For the private functions of an exported class that no inline function of a public header calls.
#define ZELGL_NO_EXPORT __attribute__((visibility("hidden")))
