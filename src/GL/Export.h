#pragma once

/// \file
/// Visibility of symbols. libZelGL is built with hidden visibility; it exports only what is marked with ZELGL_EXPORT.

#define ZELGL_EXPORT __attribute__((visibility("default")))

/// For the private functions of an exported class that no inline function of a public header calls.
#define ZELGL_NO_EXPORT __attribute__((visibility("hidden")))
