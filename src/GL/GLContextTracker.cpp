#include "GLContextTracker.h"

#include "private/ContextState.h"

namespace Orvane { namespace Zel {

GLContextTracker::GLContextTracker(QObject *parent)
    : QObject(parent)
{
}

GLContextTracker::~GLContextTracker() = default;

void *GLContextTracker::getCurrentContext()
{
    return ContextState::queryIdentity();
}

void *GLContextTracker::currentContext()
{
    return ContextState::currentIdentity();
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
