#pragma once

namespace Orvane { namespace Zel {

/// Registers the recognisers of "hdr", "ktx" and "astc", in this order. Declared here because initializeGLFunctions() makes
/// the call, defined in TextureIO.cpp, so that the frame needs no header of the images.
///
/// Private to the library.
void registerBuiltinRecognisers();

}} // namespace Orvane::Zel
