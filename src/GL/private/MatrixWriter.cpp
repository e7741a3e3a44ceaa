#include "MatrixWriter.h"

#include "../InstanceDataPlan.h"
#include "InstanceDataAccess.h"
#include "WorldMatrices.h"

#include <algorithm>

namespace Orvane { namespace Zel {

namespace {

constexpr size_t kMat4Bytes = 64;
constexpr size_t kMat3Bytes = 36; // nine numbers in the 64 bytes of the member

} // namespace

void MatrixWriter::write(InstanceDataCollection &data, int item, const QMatrix4x4 &world,
                         const WorldMatrices &matrices)
{
    const Layout &layout = layoutOf(data.plan());
    // First, because the next line overwrites what it copies.
    InstanceDataAccess::moveBytes(data, item, layout.model, layout.previous, layout.modelBytes);
    InstanceDataAccess::setBytes(data, item, layout.model, world.constData(), kMat4Bytes);
    InstanceDataAccess::setBytes(data, item, layout.inverse, matrices.inverse.constData(), kMat4Bytes);
    if (layout.hasNormal) {
        InstanceDataAccess::setBytes(data, item, layout.normal, matrices.normal.constData(), kMat3Bytes);
    }
}

void MatrixWriter::copyToPrevious(InstanceDataCollection &data, int item)
{
    const Layout &layout = layoutOf(data.plan());
    InstanceDataAccess::moveBytes(data, item, layout.model, layout.previous, layout.modelBytes);
}

const MatrixWriter::Layout &MatrixWriter::findLayout(const InstanceDataPlan *plan)
{
    const auto known = std::find_if(_layouts.begin(), _layouts.end(),
                                    [plan](const Layout &layout) { return layout.plan == plan; });
    _last = size_t(known - _layouts.begin());
    if (known == _layouts.end()) {
        _layouts.push_back(lookUp(plan));
    }
    return _layouts[_last];
}

MatrixWriter::Layout MatrixWriter::lookUp(const InstanceDataPlan *plan)
{
    Layout layout;
    layout.plan = plan;
    if (plan != nullptr) {
        const QString model = QStringLiteral("ModelMatrix");
        const QString normal = QStringLiteral("ModelNormalMatrix");
        layout.model = plan->offset(model);
        layout.modelBytes = plan->dataSize(model);
        layout.previous = plan->offset(QStringLiteral("PreviousModelMatrix"));
        layout.inverse = plan->offset(QStringLiteral("InverseModelMatrix"));
        layout.normal = plan->offset(normal);
        layout.hasNormal = plan->contains(normal); // others that the plan lacks are written at offset 0
    }
    return layout;
}

}} // namespace Orvane::Zel
