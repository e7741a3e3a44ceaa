#include "UDIMLayout.h"

#include <algorithm>

namespace Orvane { namespace Zel {

UDIMLayout::UDIMLayout(const QHash<QPoint, Texture *> &patches)
    : _patches(patches)
{
    for (auto it = _patches.begin(); it != _patches.end();) {
        if (it.key().x() < 0 || it.key().y() < 0) {
            it = _patches.erase(it);
        } else {
            _width = std::max<qint64>(_width, it.key().x() + qint64(1));
            ++it;
        }
    }
    // A second loop, since the index depends on the width.
    for (auto it = _patches.constBegin(); it != _patches.constEnd(); ++it) {
        _maxPatch = std::max(_maxPatch, indexOf(it.key()));
    }
}

}} // namespace Orvane::Zel
