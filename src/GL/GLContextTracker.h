#pragma once

#include "Export.h"

#include <QtCore/QObject>

namespace Orvane { namespace Zel {

/// Identifies the current GL context. The library keys its per-context state by
/// this identity, and a host can store it to check the context of an object later.
///
/// The identity is the current QOpenGLContext*. If the host made a context current
/// without Qt, it is the GLXContext. Both are compared as plain pointers; null
/// means that no context is current.
///
/// \snippet frame.cpp GLContextTracker
///
/// Context: returns the identity of the calling thread; needs no current context.
/// Errors:  none are logged; check() leaves the decision to the caller.
class ZELGL_EXPORT GLContextTracker : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(GLContextTracker)

public:
    explicit GLContextTracker(QObject *parent);
    ~GLContextTracker() override;

    static void *getCurrentContext();
    /// Returns the same identity; the library itself calls this name.
    static void *currentContext();

    /// The stored identity; null before the first trackCurrentContext().
    void *trackedContext() const;
    /// Stores the current identity and returns it.
    void *trackCurrentContext();
    /// Returns true if the stored identity equals the current one.
    bool check() const;

private:
    void *_trackedContext = nullptr;
};

}} // namespace Orvane::Zel
