#pragma once

#include <QtCore/QString>

namespace Orvane { namespace ZelKit {

/// Whether a context is current and the library has loaded its functions; if not, explains it as fail() does. Makes a GL call, so
/// it is for constructors.
bool isLibraryReady(QString *error);

}} // namespace Orvane::ZelKit
