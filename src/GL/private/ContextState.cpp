#include "ContextState.h"

#include "ContextHold.h"

#include <QtCore/QMutexLocker>
#include <QtGui/QOpenGLContext>

#include <GL/glx.h>

#include <unordered_map>
#include <utility>

namespace Orvane { namespace Zel {

namespace {

// A node of the map never moves, so that references to records stay valid while other records are added.
std::unordered_map<void *, ContextState> records;

// With the initial-exec model an access costs one instruction instead of a call. It takes 16 bytes of the static memory for
// threads, of which the C library also reserves some for libraries that dlopen() loads.

/// The record that a ContextHold of this thread provides; null: no hold is active.
thread_local ContextState *heldRecord [[gnu::tls_model("initial-exec")]] = nullptr;

/// The record that this thread found last. It stays correct because records are never removed.
thread_local ContextState *lastRecord [[gnu::tls_model("initial-exec")]] = nullptr;

ContextState &findRecord(void *context)
{
    const QMutexLocker locker(&ContextState::mutex);
    lastRecord = &records.try_emplace(context, context).first->second;
    return *lastRecord;
}

} // namespace

QMutex ContextState::mutex;

ContextState &ContextState::current()
{
    if (heldRecord != nullptr) {
        return *heldRecord;
    }
    void *const context = queryIdentity();
    return lastRecord != nullptr && lastRecord->identity == context ? *lastRecord : findRecord(context);
}

ContextState *ContextState::currentIfKnown()
{
    const auto record = records.find(currentIdentity());
    return record != records.end() ? &record->second : nullptr;
}

void *ContextState::currentIdentity()
{
    return heldRecord != nullptr ? heldRecord->identity : queryIdentity();
}

void *ContextState::queryIdentity()
{
    if (QOpenGLContext *context = QOpenGLContext::currentContext()) {
        return context;
    }
    return glXGetCurrentContext();
}

ContextHold::ContextHold()
    : _outer(std::exchange(heldRecord, &ContextState::current()))
{
}

ContextHold::~ContextHold()
{
    heldRecord = _outer;
}

ContextHold::Pause::Pause()
    : _outer(std::exchange(heldRecord, nullptr))
{
}

ContextHold::Pause::~Pause()
{
    heldRecord = _outer;
}

}} // namespace Orvane::Zel
