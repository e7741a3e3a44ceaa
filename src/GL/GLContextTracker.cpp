#include "GLContextTracker.h"

#include "private/ContextHold.h"

#include <QtGui/QOpenGLContext>

#include <GL/glx.h>

#include <utility>

namespace Orvane { namespace Zel {

namespace {

/// The context that a ContextHold of this thread vouches for; null: none does.
thread_local void *heldContext [[gnu::tls_model("initial-exec")]] = nullptr;

} // namespace

ContextHold::ContextHold()
    : _outer(heldContext)
{
    heldContext = GLContextTracker::currentContext();
}

ContextHold::~ContextHold()
{
    heldContext = _outer;
}

ContextHold::Pause::Pause()
    : _outer(std::exchange(heldContext, nullptr))
{
}

ContextHold::Pause::~Pause()
{
    heldContext = _outer;
}

GLContextTracker::GLContextTracker(QObject *parent)
    : QObject(parent)
{
}

GLContextTracker::~GLContextTracker() = default;

void *GLContextTracker::getCurrentContext()
{
    if (QOpenGLContext *context = QOpenGLContext::currentContext()) {
        return context;
    }
    return glXGetCurrentContext();
}

void *GLContextTracker::currentContext()
{
    return heldContext != nullptr ? heldContext : getCurrentContext();
}

void *GLContextTracker::trackedContext() const
{
    return _trackedContext;
}

void *GLContextTracker::trackCurrentContext()
{
    _trackedContext = getCurrentContext();
    return _trackedContext;
}

bool GLContextTracker::check() const
{
    return _trackedContext == getCurrentContext();
}

}} // namespace Orvane::Zel
