#include "Bindable.h"

namespace Orvane { namespace Zel {

Bindable::~Bindable() = default;

}} // namespace Orvane::Zel
