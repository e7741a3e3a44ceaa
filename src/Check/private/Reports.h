#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <functional>
#include <mutex>

namespace Orvane { namespace ZelCheck {

/// The kinds of mistakes. Each is a row of docs/check.md.
enum class Mistake {
    eNotInitialized,
    eGLError,
    eNoProgram,
    eProgramNotLinked,
    eNoVertexArray,
    eAttributeWithoutArray,
    eAttributeOfOtherKind,
    eArrayWithoutBuffer,
    eNoIndexBuffer,
    eIndexBufferTooSmall,
    eIndexBeyondVertices,
    eVerticesBeyondBuffer,
    eInstanceBeyondBuffer,
    eNoCommandBuffer,
    eCommandBufferTooSmall,
    eSamplerNeverSet,
    eSamplerWithoutTexture,
    eSamplerOfOtherTarget,
    eSamplerOfOtherKind,
    eTextureIncomplete,
    eTextureDrawnInto,
    eBlockWithoutBuffer,
    eBlockBufferTooSmall,
    eUniformNeverSet,
    eFramebufferIncomplete,
    eWindowFramebuffer,
    eOutputOfOtherKind,
    eEmptyViewport,
    eEmptyScissor,
    eNothingWritten,
    eDepthNever,
    eStencilNever,
    eAllCulled,
    eRasterizerOff,
    eLeftBound,
    eUnitLeaked,
    eDeletedElsewhere,
    eMemberUnknown,
    eMatrixMissing
};

/// Marks that this thread executes the check itself, whose GL calls go to the driver unchecked. Holds the lock of all data of
/// the check, and logs the messages of its lifetime after it has released the lock: the message handler is the host's.
class Inside
{
public:
    Inside();
    ~Inside();

    Inside(const Inside &) = delete;
    Inside &operator=(const Inside &) = delete;

    static bool isActive() { return _current != nullptr; }

    /// The object of this thread.
    static Inside *current() { return _current; }

    /// Logs the text as soon as the lock is released.
    void log(const QString &text) { _waiting += text; }

    /// Unlocks during a call of the driver, which may be long or crash, after logging what there is to log.
    void pause();
    void resume() { _lock.lock(); }

private:
    static inline thread_local Inside *_current = nullptr;

    Inside *const _outer; ///< a message handler of the host may use the check
    QStringList _waiting;
    std::unique_lock<std::mutex> _lock;
};

/// Reports a mistake unless the same one was reported before: the same kind with the same program and object. \a program is a
/// name in the current share group, 0 for none. The text says what is wrong and how to repair it. Only within an Inside.
void report(Mistake mistake, quint32 program, quint64 object, const std::function<QString()> &text);

/// Logs a line at once. Not within an Inside, which holds the lock.
void logLine(const QString &text);

/// Number of mistakes that this thread has seen so far, those that were not logged again included.
int mistakesSeen();

void forgetReports();

/// Those of one program of the current share group: GL uses the names of deleted programs again. 0 is none.
void forgetReportsOf(quint32 program);

}} // namespace Orvane::ZelCheck
