#include "PackedMatrices.h"

#include <ZelGL/InstanceDataPlan.h>

#include <QtCore/QVarLengthArray>
#include <QtGui/QGenericMatrix>

#include <algorithm>
#include <cstring>

using namespace Orvane::Zel;

namespace Orvane { namespace ZelKit {

namespace {

constexpr ulong kMat4Bytes = PackedMatrices::kMatrixSize;
constexpr ulong kMat3Bytes = 36; // nine numbers in the 64 bytes of the member

// Not literals at each call: the conversion would allocate.
const QString kModel = QStringLiteral("ModelMatrix");
const QString kPrevious = QStringLiteral("PreviousModelMatrix");
const QString kInverse = QStringLiteral("InverseModelMatrix");
const QString kNormal = QStringLiteral("ModelNormalMatrix");

/// The inverse of an affine matrix and its transpose without translation: the cross products of the columns are the rows of
/// the inverse times the determinant. Returns false for other matrices, and for those that are almost flat.
bool invertAffine(const QMatrix4x4 &world, QMatrix4x4 &inverse, float (&normal)[9])
{
    constexpr double kFlat = 1e-10;
    const float *m = world.constData();
    if (m[3] != 0.0f || m[7] != 0.0f || m[11] != 0.0f || m[15] != 1.0f) {
        return false;
    }
    double rows[3][3];
    double lengths = 1.0;
    for (int i = 0; i < 3; ++i) {
        const float *b = m + 4 * ((i + 1) % 3);
        const float *c = m + 4 * ((i + 2) % 3);
        for (int k = 0; k < 3; ++k) {
            const int k1 = (k + 1) % 3;
            const int k2 = (k + 2) % 3;
            rows[i][k] = double(b[k1]) * double(c[k2]) - double(b[k2]) * double(c[k1]);
        }
        lengths *= double(m[i]) * double(m[i]) + double(m[4 + i]) * double(m[4 + i])
                   + double(m[8 + i]) * double(m[8 + i]);
    }
    const double determinant =
        double(m[0]) * rows[0][0] + double(m[1]) * rows[0][1] + double(m[2]) * rows[0][2];
    if (!(determinant * determinant > kFlat * lengths)) {
        return false;
    }
    float *to = inverse.data();
    for (int i = 0; i < 3; ++i) {
        double moved = 0.0;
        for (int k = 0; k < 3; ++k) {
            const double value = rows[i][k] / determinant;
            to[4 * k + i] = float(value);
            normal[3 * i + k] = float(value);
            moved -= value * double(m[12 + k]);
        }
        to[12 + i] = float(moved);
        to[4 * i + 3] = 0.0f;
    }
    to[15] = 1.0f;
    return true;
}

} // namespace

QString PackedMatrices::problemOf(const InstanceDataPlan *plan)
{
    if (plan == nullptr || plan->memberNames().isEmpty()) { // not registered
        return QStringLiteral("a packed scene needs the plan of its objects; register it first");
    }
    for (const QString &member : {kModel, kPrevious, kInverse, kNormal}) {
        const bool isThere = plan->contains(member);
        if ((!isThere && member == kModel)
            || (isThere && plan->dataType(member) != InstanceDataPlan::eMat4)) {
            return QStringLiteral("the plan '%1' needs the member '%2' of type eMat4")
                .arg(plan->name(), member);
        }
    }
    if (plan->arraySize() < 1) {
        return QStringLiteral("the plan '%1' of a packed scene holds no item").arg(plan->name());
    }
    return {};
}

bool PackedMatrices::isOwn(const QString &member)
{
    return member == kModel || member == kPrevious || member == kInverse || member == kNormal;
}

PackedMatrices::PackedMatrices(InstanceDataPlan *plan)
    : _plan(plan)
    , _itemSize(plan->totalDataSize())
    , _model(offsetOf(kModel))
    , _previous(offsetOf(kPrevious))
    , _inverse(offsetOf(kInverse))
    , _normal(offsetOf(kNormal))
{
    const QStringList members = plan->memberNames();
    _firstMember = *std::find_if(members.begin(), members.end(),
                                 [plan](const QString &member) { return plan->offset(member) == 0; });
}

void PackedMatrices::write(const Items &items, int item, const QMatrix4x4 &world) const
{
    change(items, item, [&](char *bytes) {
        setWorld(bytes, world);
        copyToPrevious(bytes);
    });
}

void PackedMatrices::move(const Items &items, int item, const QMatrix4x4 &world) const
{
    change(items, item, [&](char *bytes) {
        copyToPrevious(bytes);
        setWorld(bytes, world);
    });
}

void PackedMatrices::settle(const Items &items, int item) const
{
    change(items, item, [this](char *bytes) { copyToPrevious(bytes); });
}

int PackedMatrices::offsetOf(const QString &member) const
{
    return _plan->contains(member) ? int(_plan->offset(member)) : kAbsent;
}

void PackedMatrices::copyToPrevious(char *item) const
{
    if (_previous != kAbsent) {
        std::memcpy(item + _previous, item + _model, kMat4Bytes);
    }
}

void PackedMatrices::setWorld(char *item, const QMatrix4x4 &world) const
{
    std::memcpy(item + _model, world.constData(), kMat4Bytes);
    if (_inverse == kAbsent && _normal == kAbsent) {
        return;
    }
    QMatrix4x4 inverse(Qt::Uninitialized);
    float normal[9];
    if (!invertAffine(world, inverse, normal)) {
        inverse = world.inverted();
        std::copy_n(world.normalMatrix().constData(), 9, normal);
    }
    if (_inverse != kAbsent) {
        std::memcpy(item + _inverse, inverse.constData(), kMat4Bytes);
    }
    if (_normal != kAbsent) {
        std::memcpy(item + _normal, normal, kMat3Bytes);
    }
}

template <typename Change> void PackedMatrices::change(const Items &items, int item, Change change) const
{
    QVarLengthArray<char, 512> bytes(static_cast<int>(_itemSize));
    std::memcpy(bytes.data(), items.bytes + size_t(item) * _itemSize, _itemSize);
    change(bytes.data());
    items.objects.set(item, _firstMember, bytes.constData(), static_cast<unsigned long>(_itemSize));
}

}} // namespace Orvane::ZelKit
