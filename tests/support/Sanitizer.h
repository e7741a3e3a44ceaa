#pragma once

/// Whether the program is built with the address sanitizer of gcc or clang.
#if defined(__SANITIZE_ADDRESS__)
#define ZELGL_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZELGL_ADDRESS_SANITIZER 1
#endif
#endif

#ifndef ZELGL_ADDRESS_SANITIZER
#define ZELGL_ADDRESS_SANITIZER 0
#endif
