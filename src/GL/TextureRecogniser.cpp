#include "TextureRecogniser.h"

namespace Orvane { namespace Zel {

TextureRecogniser::~TextureRecogniser() = default;

}} // namespace Orvane::Zel
