#pragma once

#include <QtCore/QString>

namespace Orvane { namespace ZelKit {

/// Whether a context is current and the library has loaded its functions; if not, explains it as fail() does. Makes a GL call, so
/// it is for constructors.
bool isLibraryReady(QString *error);

/// Whether a context is current and the library has loaded its functions.
bool hasFunctions();

/// True, with an explanation, if the driver reports that the context is lost.
bool isContextLost(QString *error);

}} // namespace Orvane::ZelKit
