#include "ShadowMapRenderData.h"

#include "private/ShadowTable.h"

#include <algorithm>

namespace Orvane { namespace Zel {

ShadowMapRenderData::Transform::Transform()
{
    *this = QMatrix4x4(); // shaders get the whole table, unused projections included
}

ShadowMapRenderData::Transform &ShadowMapRenderData::Transform::operator=(const QMatrix4x4 &matrix)
{
    // In the order of columns, which is that of glUniformMatrix4fv() without transposing.
    std::copy_n(matrix.constData(), values.size(), values.begin());
    return *this;
}

bool ShadowMapRenderData::Transform::operator==(const QMatrix4x4 &matrix) const
{
    return std::equal(values.begin(), values.end(), matrix.constData());
}

ShadowMapRenderData::ShadowMapRenderData(QObject *parent)
    : QObject(parent)
    , transforms(kShadowTableProjections)
    , projectorInfos(kShadowTableLights)
    , blurInfos(kShadowTableProjections)
{
}

ShadowMapRenderData::~ShadowMapRenderData() = default;

bool ShadowMapRenderData::setTransform(int index, const QMatrix4x4 &matrix, float blur)
{
    // The sizes differ if the host has resized one of the public tables.
    if (index < 0 || index >= transforms.size() || index >= blurInfos.size()) {
        return false;
    }
    // Exact: any tolerance would let a slowly moving light keep its old layers.
    if (transforms.at(index) == matrix && blurInfos.at(index).blur == blur) {
        return false;
    }
    transforms[index] = matrix;
    blurInfos[index].blur = blur;
    return true;
}

}} // namespace Orvane::Zel
