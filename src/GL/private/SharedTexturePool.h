#pragma once

namespace Orvane { namespace Zel {

class Texture;

/// Returns one reference of \a texture to the pool of the texture manager. Declared here because framebuffers make the call,
/// defined in TextureManager.cpp, so that they need no header of the managers.
///
/// Private to the library.
void releaseToSharedPool(Texture *texture);

}} // namespace Orvane::Zel
