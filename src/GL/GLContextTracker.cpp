#include "GLContextTracker.h"

#include <QtGui/QOpenGLContext>

#include <GL/glx.h>

namespace Orvane { namespace Zel {

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
    return getCurrentContext();
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
