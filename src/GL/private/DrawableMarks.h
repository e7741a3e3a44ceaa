#pragma once

#include "../GPUModel.h"

namespace Orvane { namespace Zel {

/// \file
/// The culling marks of a drawable. The count alone is the mark of a drawable with one command: its vector has one element,
/// which is never set, and shares its memory with those of all such drawables, so that culling does not load it; see `cull_zel`
/// in benchmarks/README.md.
///
/// Private to the library; for GPUModel.

inline bool isCulled(const GPUModel::Drawable &drawable, int command)
{
    return drawable.culled.size() == 1 ? drawable.culledCount != 0 : drawable.culled.at(command);
}

/// Sets the mark of a command that is not culled.
inline void cull(GPUModel::Drawable &drawable, int command)
{
    if (drawable.culled.size() != 1) {
        drawable.culled[command] = true;
    }
    ++drawable.culledCount;
}

inline void setAllCulled(GPUModel::Drawable &drawable, bool culled)
{
    const int commands = drawable.culled.size();
    if (commands != 1) {
        drawable.culled.fill(culled);
    }
    drawable.culledCount = culled ? commands : 0;
}

}} // namespace Orvane::Zel
