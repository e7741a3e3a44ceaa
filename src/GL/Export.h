#pragma once

/// \file
/// The export mark of libZelGL. The library is built with hidden visibility:
/// what carries ZELGL_EXPORT is its surface, all else is private.

#define ZELGL_EXPORT __attribute__((visibility("default")))
