#pragma once

/// \file
/// Visibility of the symbols of libZelShaders.

#define ZELSHADERS_EXPORT __attribute__((visibility("default")))

/// For private functions of an exported class.
#define ZELSHADERS_NO_EXPORT __attribute__((visibility("hidden")))
