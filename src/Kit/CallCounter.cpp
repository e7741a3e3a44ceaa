#include "CallCounter.h"

#include "private/Failure.h"

#include <ZelCheck/EntryPointTap.h>
#include <ZelGL/ZelGL.h>

#include <algorithm>
#include <array>
#include <vector>

namespace Orvane { namespace ZelKit {

namespace {

/// The state that a call sets: its kind, and up to two parameters that select it, such as a target.
using StateKey = std::array<quint64, 3>;

enum Kind : quint64 {
    eActiveTexture,
    eBlendFunc,
    eBuffer,
    eCapability,
    eColorMask,
    eCullFace,
    eDepthFunc,
    eDepthMask,
    eFramebuffer,
    eFrontFace,
    eIndexedBuffer,
    eProgram,
    eStencilFunc,
    eStencilMask,
    eStencilOp,
    eTexture,
    eVertexArray,
    eViewport
};

/// The calls so far, and the state that they have set. Reused by all counters, so that later ones do not allocate.
class Ledger
{
public:
    using Value = std::array<quint64, 4>;

    void start()
    {
        _calls = {};
        _state.clear();
    }

    void count() { ++_calls.all; }

    void set(const StateKey &key, const Value &value)
    {
        ++_calls.stateChanges;
        _calls.redundant += store(key, value) ? 0 : 1;
    }

    /// Without a count, for what a call sets besides. Returns whether the value is new.
    bool store(const StateKey &key, const Value &value)
    {
        const auto place = find(key);
        if (place == _state.end() || place->first != key) {
            _state.insert(place, {key, value});
            return true;
        }
        const bool isNew = place->second != value;
        place->second = value;
        return isNew;
    }

    Value value(const StateKey &key, quint64 unknown = 0)
    {
        const auto place = find(key);
        return place != _state.end() && place->first == key ? place->second : Value{unknown, unknown};
    }

    /// To be called at deletions: GL reuses the names of deleted objects.
    void forget() { _state.clear(); }

    const CallCounts &calls() const { return _calls; }

private:
    using Entry = std::pair<StateKey, Value>;

    std::vector<Entry>::iterator find(const StateKey &key)
    {
        return std::lower_bound(
            _state.begin(), _state.end(), key,
            [](const Entry &entry, const StateKey &wanted) { return entry.first < wanted; });
    }

    CallCounts _calls;
    std::vector<Entry> _state; ///< sorted by key
};

Ledger gLedger;
bool gIsCounting = false;

StateKey bufferKey(GLenum target)
{
    // The binding of the element array is state of the vertex array.
    const bool isOfArray = target == GL_ELEMENT_ARRAY_BUFFER;
    return {eBuffer, target, isOfArray ? gLedger.value({eVertexArray})[0] : 0};
}

// Overloads by entry point: the effect of a call on the state.

template <auto Slot> struct Effect
{
    template <typename... Arguments> static void of(Arguments...) {}
};

template <> struct Effect<&glActiveTexture>
{
    static void of(GLenum unit) { gLedger.set({eActiveTexture}, {unit}); }
};
template <> struct Effect<&glBindBuffer>
{
    static void of(GLenum target, GLuint buffer) { gLedger.set(bufferKey(target), {buffer}); }
};
template <> struct Effect<&glBindBufferBase>
{
    static void of(GLenum target, GLuint index, GLuint buffer)
    {
        gLedger.set({eIndexedBuffer, target, index}, {buffer});
        gLedger.store(bufferKey(target), {buffer}); // GL binds it there too
    }
};
template <> struct Effect<&glBindFramebuffer>
{
    static void of(GLenum target, GLuint framebuffer)
    {
        constexpr quint64 kUnknown = ~quint64(0);
        Ledger::Value bound = gLedger.value({eFramebuffer}, kUnknown); // for draws, and for reads
        if (target != GL_READ_FRAMEBUFFER) {
            bound[0] = framebuffer;
        }
        if (target != GL_DRAW_FRAMEBUFFER) {
            bound[1] = framebuffer;
        }
        gLedger.set({eFramebuffer}, bound);
    }
};
template <> struct Effect<&glBindTexture>
{
    static void of(GLenum target, GLuint texture)
    {
        gLedger.set({eTexture, target, gLedger.value({eActiveTexture})[0]}, {texture});
    }
};
template <> struct Effect<&glBindVertexArray>
{
    static void of(GLuint array) { gLedger.set({eVertexArray}, {array}); }
};
template <> struct Effect<&glBlendFunc>
{
    static void of(GLenum source, GLenum target) { gLedger.set({eBlendFunc}, {source, target}); }
};
template <> struct Effect<&glColorMask>
{
    static void of(GLboolean r, GLboolean g, GLboolean b, GLboolean a)
    {
        gLedger.set({eColorMask}, {r, g, b, a});
    }
};
template <> struct Effect<&glCullFace>
{
    static void of(GLenum face) { gLedger.set({eCullFace}, {face}); }
};
template <> struct Effect<&glDepthFunc>
{
    static void of(GLenum function) { gLedger.set({eDepthFunc}, {function}); }
};
template <> struct Effect<&glDepthMask>
{
    static void of(GLboolean mask) { gLedger.set({eDepthMask}, {mask}); }
};
template <> struct Effect<&glDisable>
{
    static void of(GLenum capability) { gLedger.set({eCapability, capability}, {0}); }
};
template <> struct Effect<&glEnable>
{
    static void of(GLenum capability) { gLedger.set({eCapability, capability}, {1}); }
};
template <> struct Effect<&glFrontFace>
{
    static void of(GLenum order) { gLedger.set({eFrontFace}, {order}); }
};
template <> struct Effect<&glStencilFunc>
{
    static void of(GLenum function, GLint reference, GLuint mask)
    {
        gLedger.set({eStencilFunc}, {function, quint64(reference), mask});
    }
};
template <> struct Effect<&glStencilMask>
{
    static void of(GLuint mask) { gLedger.set({eStencilMask}, {mask}); }
};
template <> struct Effect<&glStencilOp>
{
    static void of(GLenum fail, GLenum depthFail, GLenum pass)
    {
        gLedger.set({eStencilOp}, {fail, depthFail, pass});
    }
};
template <> struct Effect<&glUseProgram>
{
    static void of(GLuint program) { gLedger.set({eProgram}, {program}); }
};
template <> struct Effect<&glViewport>
{
    static void of(GLint x, GLint y, GLsizei width, GLsizei height)
    {
        gLedger.set({eViewport}, {quint64(x), quint64(y), quint64(width), quint64(height)});
    }
};
template <> struct Effect<&glDeleteBuffers>
{
    static void of(GLsizei, const GLuint *) { gLedger.forget(); }
};
template <> struct Effect<&glDeleteTextures>
{
    static void of(GLsizei, const GLuint *) { gLedger.forget(); }
};

/// Counts a call, then forwards it.
struct Counter
{
    template <auto Slot, typename Result, typename... Arguments>
    static Result call(Result(APIENTRY *driver)(Arguments...), Arguments... arguments)
    {
        gLedger.count();
        Effect<Slot>::of(arguments...);
        return driver(arguments...);
    }
};

/// The entry points that are counted: all that a frame uses.
using Taps = ZelCheck::EntryPointTaps<
    Counter, &glActiveTexture, &glBeginQuery, &glBindBuffer, &glBindBufferBase, &glBindFramebuffer,
    &glBindRenderbuffer, &glBindTexture, &glBindVertexArray, &glBlendFunc, &glBlitFramebuffer, &glBufferData,
    &glBufferSubData, &glClear, &glClearBufferfi, &glClearBufferfv, &glClearBufferiv, &glClearColor,
    &glColorMask, &glCullFace, &glDeleteBuffers, &glDeleteTextures, &glDepthFunc, &glDepthMask, &glDisable,
    &glDisableVertexAttribArray, &glDrawArrays, &glDrawArraysInstanced, &glDrawBuffer, &glDrawBuffers,
    &glDrawElements, &glDrawElementsBaseVertex, &glDrawElementsInstanced, &glEnable,
    &glEnableVertexAttribArray, &glEndQuery, &glFramebufferTexture2D, &glFramebufferTextureLayer,
    &glFrontFace, &glGenBuffers, &glGenTextures, &glGenerateMipmap, &glGetIntegerv, &glGetUniformBlockIndex,
    &glGetUniformLocation, &glIsEnabled, &glPixelStorei, &glPolygonOffset, &glPrimitiveRestartIndex,
    &glReadBuffer, &glReadPixels, &glStencilFunc, &glStencilMask, &glStencilOp, &glTexImage2D, &glTexImage3D,
    &glTexParameteri, &glTexSubImage2D, &glTexSubImage3D, &glUniform1f, &glUniform1fv, &glUniform1i,
    &glUniform1iv, &glUniform1ui, &glUniform1uiv, &glUniform2f, &glUniform2fv, &glUniform2iv, &glUniform2uiv,
    &glUniform3f, &glUniform3fv, &glUniform4f, &glUniform4fv, &glUniform4iv, &glUniform4uiv,
    &glUniformBlockBinding, &glUniformMatrix3fv, &glUniformMatrix4fv, &glUseProgram, &glVertexAttribIPointer,
    &glVertexAttribPointer, &glViewport>;

} // namespace

CallCounter::CallCounter()
    : _isCounting(!gIsCounting)
{
    if (!_isCounting) {
        fail(nullptr,
             QStringLiteral("another call counter exists, so this one counts nothing; delete the first one"));
        return;
    }
    gIsCounting = true;
    gLedger.start();
    Taps::install();
}

CallCounter::~CallCounter()
{
    if (_isCounting) {
        Taps::remove();
        gIsCounting = false;
    }
}

CallCounts CallCounter::counts() const
{
    return _isCounting ? gLedger.calls() : CallCounts();
}

}} // namespace Orvane::ZelKit
