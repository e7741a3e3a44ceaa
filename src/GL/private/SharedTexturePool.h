#pragma once

namespace Orvane { namespace Zel {

class Texture;

/// Releases one reference to \a texture, which is from the pool of the texture manager. FramebufferObject calls it, and would
/// include a header of a higher subsystem without it; it is defined in TextureManager.cpp.
///
/// Private to the library.
void releaseToSharedPool(Texture *texture);

}} // namespace Orvane::Zel
