#pragma once

/// \file
/// Visibility of the symbols of libZelCheck.

#define ZELCHECK_EXPORT __attribute__((visibility("default")))
