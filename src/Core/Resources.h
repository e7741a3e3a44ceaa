#pragma once

#include "CoreExport.h"

#include <QtCore/QString>

namespace Orvane { namespace Zel {

/// The directory of the installation's resources, without a trailing slash. GLSL
/// files of a host in its folder "GLSL" replace those inside the library; the
/// installation makes no such folder. It is found from where this library was
/// loaded, so an installed tree can be moved as a whole; in the build tree it
/// leads to the sources. Whether it exists is not asked. Empty when the place of
/// the library cannot be told.
///
/// \snippet core.cpp Resources
ZELCORE_EXPORT QString resourcesPath();

}} // namespace Orvane::Zel
