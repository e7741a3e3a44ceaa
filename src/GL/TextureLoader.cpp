#include "TextureLoader.h"

namespace Orvane { namespace Zel {

TextureLoader::~TextureLoader() = default;

}} // namespace Orvane::Zel
