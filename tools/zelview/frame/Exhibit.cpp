#include "frame/Exhibit.h"

namespace zelview {

Exhibit::~Exhibit() = default;

} // namespace zelview
