#pragma once

/// \file
/// Visibility of the symbols of libZelCore.

#define ZELCORE_EXPORT __attribute__((visibility("default")))
