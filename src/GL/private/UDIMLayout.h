#pragma once

#include "../TextureToken.h"

#include <QtCore/QHash>

namespace Orvane { namespace Zel {

class Texture;

/// Numbers the patches of a UDIM set row by row, as the shader does. It leaves out patches with a negative coordinate, which no
/// texture coordinate reaches.
///
/// Units:   patch coordinates are tile indices.
/// Context: none.
/// Private to the library; for Array2DTextureManager.
class UDIMLayout
{
public:
    explicit UDIMLayout(const QHash<QPoint, Texture *> &patches);

    const QHash<QPoint, Texture *> &patches() const { return _patches; }
    qint64 indexOf(const QPoint &patch) const { return _width * patch.y() + patch.x(); }
    /// Patches in a row; 1 for an empty set.
    qint64 width() const { return _width; }
    /// The highest index; 0 for an empty set.
    qint64 maxPatch() const { return _maxPatch; }

private:
    QHash<QPoint, Texture *> _patches;
    qint64 _width = 1;
    qint64 _maxPatch = 0;
};

}} // namespace Orvane::Zel
