#pragma once

#include "frame/Outcome.h"
#include "scene/Scene.h"

namespace zelview {

/// \file
/// UDIM sets on disk: files that differ in a number of four digits, 1001 + column + 10 * row. Free of GL.
///
/// Units: columns from 0 to 9, rows from 0 to 99, counted from the lower left.

/// The tiles of a set, by number. \a path names it by `<UDIM>` in the place of the number, or by its tile 1001, which
/// takes two files at least to be a set. Empty when there is none.
std::vector<TextureTile> findTiles(const QString &path);

/// The set that a folder holds, or that \a name is, as findTiles() takes it.
///
/// Errors: ExitCode::eFile when there are no tiles, ExitCode::eUsage when a folder holds several sets.
Expected<TextureSource> findUdimSet(const QString &name);

/// An upright plane with a unit square for each tile; where a tile is missing there is a hole.
Scene makeUdimPlane(const TextureSource &tiles);

} // namespace zelview
