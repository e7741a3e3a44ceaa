#pragma once

#include "Export.h"

#include <QtCore/QObject>

namespace Orvane { namespace Zel {

/// The identity of a GL context: what the per-context tables of the library are
/// keyed by, and what a host can remember to check an object's context.
///
/// The identity is the QOpenGLContext* that Qt knows to be current or, where the
/// host made a context current behind Qt's back, the GLXContext. Both are
/// compared as plain pointers; null means that no context is current.
///
/// \snippet frame.cpp GLContextTracker
///
/// Context: a question about the calling thread; needs no current context.
/// Errors:  none are reported; check() leaves the decision to the caller.
class ZELGL_EXPORT GLContextTracker : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(GLContextTracker)

public:
    explicit GLContextTracker(QObject *parent);
    ~GLContextTracker() override;

    static void *getCurrentContext();
    /// The same answer, under the name that the library's own code calls.
    static void *currentContext();

    /// The stored identity; null until trackCurrentContext().
    void *trackedContext() const;
    /// Stores the current identity and returns it.
    void *trackCurrentContext();
    /// True when the stored identity equals the current one.
    bool check() const;

private:
    void *_trackedContext = nullptr;
};

}} // namespace Orvane::Zel
