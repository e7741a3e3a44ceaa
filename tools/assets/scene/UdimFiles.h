#pragma once

#include "file/Outcome.h"
#include "scene/Scene.h"

namespace zeltools {

/// \file
/// Finds UDIM sets on disk: files whose names differ in a number of four digits, 1001 + column + 10 * row. Uses no GL.
///
/// Units: columns from 0 to 9, rows from 0 to 99, counted from the lower left.

/// The tiles of a set, sorted by number. \a path has `<UDIM>` instead of the number, or is the path of tile 1001; then a
/// set needs at least two files. Empty if there is no set.
std::vector<TextureTile> findTiles(const QString &path);

/// The set in a folder, or of a name as for findTiles().
///
/// Errors: ExitCode::eFile if there are no tiles, ExitCode::eUsage if a folder contains several sets.
Expected<TextureSource> findUdimSet(const QString &name);

/// The set as an upright plane with a unit square for each tile; a missing tile leaves a hole.
Expected<Scene> loadTiles(const QString &name);

} // namespace zeltools
