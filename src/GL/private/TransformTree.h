#pragma once

#include <QtCore/QVector>

namespace Orvane { namespace Zel {

/// The hierarchy of transforms, read only. A parent that is no transform ends an upward traversal.
///
/// The vectors are by transform; the visibility may be longer than the others. They must outlive the tree, unchanged.
///
/// Context: none.
/// Private to the library; for GPUModel.
class TransformTree
{
public:
    TransformTree(const QVector<int> &parents, const QVector<int> &visibility,
                  const QVector<bool> &swapsHandedness)
        : _parents(parents.constData())
        , _visibility(visibility.constData())
        , _swapsHandedness(swapsHandedness.constData())
        , _count(parents.size())
    {
    }

    bool isValid(int transform) const { return unsigned(transform) < unsigned(_count); }
    bool swapsHandedness(int transform) const { return _swapsHandedness[transform]; }

    /// Returns the first number above \a transform that is no transform, which is often -1.
    int endOfChain(int transform) const
    {
        while (isValid(transform)) {
            transform = _parents[transform];
        }
        return transform;
    }

    bool isDescendant(int ancestor, int transform) const
    {
        while (isValid(transform) && transform != ancestor) {
            transform = _parents[transform];
        }
        return isValid(transform);
    }

    /// Whether \a transform or one above it hides its descendants.
    bool isParentHidden(int transform) const
    {
        while (isValid(transform)) {
            if (_visibility[transform] == kHiddenWithDescendants) {
                return true;
            }
            transform = _parents[transform];
        }
        return false;
    }

    bool isVisible(int transform) const
    {
        return isValid(transform) && _visibility[transform] != kHidden
               && _visibility[transform] != kHiddenWithDescendants && !isParentHidden(_parents[transform]);
    }

private:
    static constexpr int kHidden = 2;
    static constexpr int kHiddenWithDescendants = 3;

    const int *_parents;
    const int *_visibility;
    const bool *_swapsHandedness;
    int _count;
};

}} // namespace Orvane::Zel
