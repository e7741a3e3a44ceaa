#pragma once

/// \file
/// Visibility of the symbols of libZelKit.

#define ZELKIT_EXPORT __attribute__((visibility("default")))
#define ZELKIT_NO_EXPORT __attribute__((visibility("hidden")))
