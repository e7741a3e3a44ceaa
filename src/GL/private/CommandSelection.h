#pragma once

#include "../GPUModel.h"
#include "TransformTree.h"

namespace Orvane { namespace Zel {

/// Chooses and sorts the commands of drawables for one draw.
///
/// Host code that runs during the draw may change the model. The selection reads the transforms and boxes as they were at the
/// start: its containers share their memory with the model's until the model changes, and then the model gets the copy; see
/// GPUModelTest.HostCodeMayChangeTheModelAndTheContextDuringADraw. The lists are the model's, borrowed for the draw,
/// so that a frame allocates nothing for them; a draw within the draw has lists of its own.
///
/// Context: none. The model must outlive the selection.
/// Private to the library; a part of GPUModel's draws.
class GPUModel::CommandSelection
{
    Q_DISABLE_COPY(CommandSelection)

public:
    explicit CommandSelection(GPUModel &model);
    ~CommandSelection();

    /// Makes sort() sort by the distance from the eye of \a viewMatrix if \a flags ask for it. Null: it does not.
    void sortIfRequested(unsigned long long flags, const QMatrix4x4 *viewMatrix);
    bool sorts() const { return _sorts; }

    /// Whether choose() would choose all commands, and none for the second pass.
    bool choosesAll(int position, const Drawable &drawable, int commands, WindingType winding) const
    {
        if (drawable.culledCount != 0) {
            return false;
        }
        const int *transforms = &_onlyTransforms.at(position);
        if (commands != 1) {
            if (commands != drawable.transformRefs.size()) {
                return false;
            }
            transforms = drawable.transformRefs.constData();
        }
        for (int command = 0; command < commands; ++command) {
            if (!_tree.isVisible(transforms[command]) || !isOfWinding(transforms[command], winding)) {
                return false;
            }
        }
        return true;
    }

    /// Chooses the commands that are visible and not culled.
    void choose(const Drawable &drawable, int commands, WindingType winding);
    /// Chooses the first \a commands, whatever hides them.
    void chooseFirst(int commands);
    /// Nearest first, if asked. Commands without box or transform are last.
    void sort(const Drawable &drawable, QVector<int> &commands);

    QVector<int> &chosen() { return _chosen; }
    /// Those of the other handedness, for the second pass.
    QVector<int> &others() { return _others; }

private:
    void swapLists();
    float distanceOf(const Drawable &drawable, int command) const;

    /// Whether a command is one of those that are drawn first.
    bool isOfWinding(int transform, WindingType winding) const
    {
        const bool byHandedness = winding == Zel::eWindingCCW || winding == Zel::eWindingCW;
        return !byHandedness || _tree.swapsHandedness(transform) == (winding == Zel::eWindingCW);
    }

    GPUModel &_model;
    const QVector<int> _onlyTransforms;
    const QVector<int> _parents;
    const QVector<int> _visibility;
    const QVector<bool> _swapsHandedness;
    const QVector<QMatrix4x4> _worldTransforms;
    const QVector<BoundingBox> _boundingBoxes;
    const TransformTree _tree; ///< reads the vectors above

    QVector<int> _chosen;
    QVector<int> _others;
    QVector<DistanceSort> _distances;
    bool _sorts = false;
    QVector3D _eyeInWorld;
};

}} // namespace Orvane::Zel
