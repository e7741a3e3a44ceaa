#pragma once

#include "CoreExport.h"

#include <QtCore/QString>

namespace Orvane { namespace Zel {

/// Returns the directory of the installation's resources, without a trailing slash.
///
/// A host can create the folder "GLSL" there: its files replace the GLSL files inside
/// the library. The path is relative to the file from which this library was loaded, so
/// an installed tree can be moved as a whole. In the build tree it leads to the sources.
/// The function does not check whether the directory exists. It returns an empty string
/// if the path of the library is unknown.
///
/// \snippet core.cpp Resources
ZELCORE_EXPORT QString resourcesPath();

}} // namespace Orvane::Zel
