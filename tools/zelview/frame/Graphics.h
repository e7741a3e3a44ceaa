#pragma once

#include "frame/Outcome.h"

#include <QtCore/QString>
#include <QtGui/QOffscreenSurface>
#include <QtGui/QOpenGLContext>
#include <QtGui/QSurfaceFormat>

#include <memory>

namespace zelview {

struct Options;

/// \file
/// What pictures and windows share: the Qt platform, the format of contexts, and the start of the library.

/// Selects GLX, which the library needs, unless the environment selects a platform. Call it before the application object
/// exists.
void choosePlatform();

/// The newest core profile of the driver; a debug context if the options ask for debug messages.
QSurfaceFormat surfaceFormat(const Options &options);

/// Initialises the library in the current context, and selects how draw IDs reach the shaders.
Failure startLibrary(const Options &options);

/// The driver of the current context, in one line.
QString describeDriver();

/// A current context without a window.
class OffscreenContext
{
    Q_DISABLE_COPY(OffscreenContext)

public:
    static Expected<std::unique_ptr<OffscreenContext>> create(const Options &options);
    ~OffscreenContext();

private:
    OffscreenContext() = default;

    QOffscreenSurface _surface;
    QOpenGLContext _context;
};

} // namespace zelview
