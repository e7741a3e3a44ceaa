#pragma once

/// \file
/// The export mark of libZelCore.

#define ZELCORE_EXPORT __attribute__((visibility("default")))
