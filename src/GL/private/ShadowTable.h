#pragma once

#include "../ShadowMapRenderData.h"

namespace Orvane { namespace Zel {

/// \file
/// The table of projections that ShadowMapManager and ShadowMapManagerCulling fill, one light after the other.
///
/// Private to the library.

/// ShadowMapManager's public limits repeat these numbers. They are stated here as well because the header of
/// ShadowMapManager includes that of the table; ShadowMapManager.cpp asserts that they agree.
constexpr int kShadowTableLights = 32;
constexpr int kShadowTableProjections = 32;

/// Whether no projection is left for the light of \a info.
inline bool isTableFull(const ShadowMapRenderData &renderData, const ShadowMapRenderData::ProjectorInfo &info)
{
    return info.index + info.count >= renderData.transforms.size();
}

/// Appends a projection to those of the light of \a info. Sets \a changed if the table held another one.
inline void appendProjection(ShadowMapRenderData &renderData, ShadowMapRenderData::ProjectorInfo &info,
                             const QMatrix4x4 &worldToMap, bool &changed)
{
    const float blur = ShadowMapRenderData::BlurInfo().blur;
    changed = renderData.setTransform(info.index + info.count, worldToMap, blur) || changed;
    ++info.count;
}

}} // namespace Orvane::Zel
