#include "FrameMeter.h"

#include "private/Failure.h"
#include "private/Library.h"
#include "private/OwnContext.h"

#include <ZelGL/ZelGL.h>

namespace Orvane { namespace ZelKit {

namespace {

constexpr double kNanosecond = 1e-6; ///< milliseconds

/// glGetQueryObjectui64v() of OpenGL 3.3; GL_TIME_ELAPSED needs that version too.
using GetResult = void(APIENTRY *)(GLuint, GLenum, quint64 *);

GetResult resultGetter()
{
    static const auto getResult =
        reinterpret_cast<GetResult>(getGLProcAddress("glGetQueryObjectui64v", false));
    return getResult;
}

bool hasTimer()
{
    return (openGlVersionSupported(3, 3) || hasGLExtension("GL_ARB_timer_query"))
           && resultGetter() != nullptr;
}

QString rounded(double milliseconds)
{
    return QString::number(milliseconds, 'f', 2);
}

} // namespace

FrameMeter::FrameMeter()
    : _context(std::make_unique<OwnContext>())
    , _isUsable(isLibraryReady(nullptr))
{
    if (_isUsable && hasTimer()) {
        glGenQueries(1, &_query);
    }
}

FrameMeter::~FrameMeter()
{
    if (_query != 0 && _context->isCurrent("frame meter")) { // names are those of its context
        glDeleteQueries(1, &_query);
    }
}

void FrameMeter::begin()
{
    if (!_isUsable) {
        return;
    }
    if (_counter) {
        fail(nullptr, QStringLiteral("FrameMeter::begin() has been called twice; call end() first"));
        return;
    }
    if (!_context->isCurrent("frame meter")) {
        return;
    }
    _counter.emplace();
    _timer.start();
    if (_query != 0) {
        glBeginQuery(GL_TIME_ELAPSED, _query);
    }
}

void FrameMeter::end()
{
    if (!_counter) {
        if (_isUsable) {
            fail(nullptr, QStringLiteral("FrameMeter::end() needs a begin() before it"));
        }
        return;
    }
    if (!_context->isCurrent("frame meter")) {
        _counter.reset();
        return;
    }
    if (_query != 0) {
        glEndQuery(GL_TIME_ELAPSED);
    }
    _cpuTime += double(_timer.nsecsElapsed()) * kNanosecond;
    const CallCounts calls = _counter->counts();
    _counter.reset();
    glFinish();
    const double wholeTime = double(_timer.nsecsElapsed()) * kNanosecond;
    _wholeTime += wholeTime;
    addGpuTime(wholeTime);
    _calls.all += calls.all;
    _calls.stateChanges += calls.stateChanges;
    _calls.redundant += calls.redundant;
    ++_frames;
}

void FrameMeter::addGpuTime(double longest)
{
    if (_query == 0) {
        return;
    }
    quint64 nanoseconds = 0;
    resultGetter()(_query, GL_QUERY_RESULT, &nanoseconds);
    const double time = double(nanoseconds) * kNanosecond;
    if (time <= longest) { // see "time since the start" among the driver workarounds
        _gpuTime += time;
        ++_timedFrames;
    }
}

void FrameMeter::reset()
{
    _timedFrames = 0;
    _frames = 0;
    _cpuTime = 0.0;
    _gpuTime = 0.0;
    _wholeTime = 0.0;
    _calls = {};
}

FrameMeter::Cost FrameMeter::mean() const
{
    const int frames = qMax(_frames, 1);
    Cost cost;
    cost.whole = _wholeTime / frames;
    cost.cpu = _cpuTime / frames;
    if (_timedFrames > 0) {
        cost.gpu = _gpuTime / _timedFrames;
    }
    cost.calls = {_calls.all / frames, _calls.stateChanges / frames, _calls.redundant / frames};
    return cost;
}

QStringList FrameMeter::describe() const
{
    const Cost cost = mean();
    return {QStringLiteral("calls     %1 GL calls, %2 state changes, %3 of them redundant")
                .arg(cost.calls.all)
                .arg(cost.calls.stateChanges)
                .arg(cost.calls.redundant),
            QStringLiteral("frame     %1 ms; CPU %2 ms, GPU %3%4")
                .arg(rounded(cost.whole), rounded(cost.cpu),
                     cost.gpu ? rounded(*cost.gpu) + QStringLiteral(" ms") : QStringLiteral("unknown"),
                     _frames > 1 ? QStringLiteral("; mean of %1 frames").arg(_frames) : QString())};
}

}} // namespace Orvane::ZelKit
