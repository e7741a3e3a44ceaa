#pragma once

/// \file
/// Private to the library. Owned by TextureIO, called by initializeGLFunctions().

namespace Orvane { namespace Zel {

/// Registers the recognisers of "hdr", "ktx" and "astc", in this order. Defined in TextureIO.cpp. It has a header of
/// its own so that GLUtilities, which is below the images in the order of includes, includes none of their headers.
void registerBuiltinRecognisers();

}} // namespace Orvane::Zel
