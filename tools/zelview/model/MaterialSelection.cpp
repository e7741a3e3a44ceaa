#include "model/MaterialSelection.h"

#include <algorithm>

namespace zeltools {

MaterialSelection::MaterialSelection(QStringList names)
    : _names(std::move(names))
    , _excluded(size_t(_names.size()))
{
}

void MaterialSelection::selectNext()
{
    _selected = _selected + 1 < _names.size() ? _selected + 1 : -1;
}

void MaterialSelection::toggleSolo()
{
    _solo = _solo == _selected ? -1 : _selected;
}

void MaterialSelection::toggleExcluded()
{
    if (_selected >= 0) {
        _excluded[size_t(_selected)] = !_excluded[size_t(_selected)];
    }
}

void MaterialSelection::showAll()
{
    _selected = -1;
    _solo = -1;
    std::fill(_excluded.begin(), _excluded.end(), false);
}

bool MaterialSelection::isShown(int material) const
{
    return _solo >= 0 ? material == _solo : !_excluded[size_t(material)];
}

QString MaterialSelection::describe() const
{
    QStringList parts;
    if (_selected >= 0) {
        parts.append(QStringLiteral("'%2', number %1").arg(_selected).arg(_names[_selected]));
    }
    if (_solo >= 0) {
        parts.append(QStringLiteral("only '%1'").arg(_names[_solo]));
    } else if (const auto count = std::count(_excluded.begin(), _excluded.end(), true); count > 0) {
        parts.append(QStringLiteral("%1 hidden").arg(count));
    }
    return parts.join(QStringLiteral("; "));
}

} // namespace zeltools
