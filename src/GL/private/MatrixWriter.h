#pragma once

#include <QtGui/QMatrix4x4>

#include <cstddef>
#include <vector>

namespace Orvane { namespace Zel {

class InstanceDataCollection;
class InstanceDataPlan;
struct WorldMatrices;

/// Writes the matrices of transforms into object data.
///
/// A writer looks up the members of each plan once; it must not be kept while plans are deleted. A member that the plan does
/// not have is written at offset 0, as InstanceDataCollection::set() does, except for "ModelNormalMatrix", which is left out.
///
/// Context: none; the data are uploaded by the next bind.
/// Private to the library; for GPUModel.
class MatrixWriter
{
public:
    /// Copies "ModelMatrix" to "PreviousModelMatrix", then writes all others.
    void write(InstanceDataCollection &data, int item, const QMatrix4x4 &world,
               const WorldMatrices &matrices);
    /// Copies "ModelMatrix" to "PreviousModelMatrix".
    void copyToPrevious(InstanceDataCollection &data, int item);

private:
    /// Offsets in an item, in bytes.
    struct Layout
    {
        const InstanceDataPlan *plan = nullptr;
        bool hasNormal = false;
        unsigned int model = 0;
        unsigned int previous = 0;
        unsigned int inverse = 0;
        unsigned int normal = 0;
        size_t modelBytes = 0; ///< 0 for a null plan: nothing is copied
    };

    const Layout &layoutOf(const InstanceDataPlan *plan)
    {
        return _last < _layouts.size() && _layouts[_last].plan == plan ? _layouts[_last] : findLayout(plan);
    }
    const Layout &findLayout(const InstanceDataPlan *plan);
    static Layout lookUp(const InstanceDataPlan *plan);

    std::vector<Layout> _layouts; ///< few; searched in order
    size_t _last = 0;             ///< the plan of the previous call, which most calls have
};

}} // namespace Orvane::Zel
