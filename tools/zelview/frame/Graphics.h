#pragma once

#include "file/Outcome.h"

#include <ZelKit/HeadlessContext.h>

#include <QtCore/QString>
#include <QtGui/QSurfaceFormat>

#include <memory>

namespace zeltools {

struct Options;

/// \file
/// What pictures and windows share: contexts, and the start of the library.

/// The newest core profile of the driver; a debug context if the options ask for debug messages.
QSurfaceFormat surfaceFormat(const Options &options);

/// Initialises the library in the context of a window, with the driver's messages if the options ask for them.
Failure startLibrary(const Options &options);

/// The driver of the current context, in one line.
QString describeDriver();

/// A current context without a window, with the library ready.
Expected<std::unique_ptr<Orvane::ZelKit::HeadlessContext>> makeOffscreenContext(const Options &options);

} // namespace zeltools
