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
/// What pictures and windows have in common: the platform, the format of contexts, the library's start in one.

/// Chooses GLX, the library's way to GL, where the environment does not choose. Before the application object is made.
void choosePlatform();

/// A core profile as new as the driver has; with debug output if the user wants to see it.
QSurfaceFormat surfaceFormat(const Options &options);

/// Starts the library in the current context, and settles how draw IDs travel.
Failure startLibrary(const Options &options);

/// The current context's driver, in one line.
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
