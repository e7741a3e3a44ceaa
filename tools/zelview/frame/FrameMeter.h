#pragma once

#include "frame/GLCallCounter.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QStringList>

#include <memory>

namespace zelview {

/// What frames cost: time and GL calls, as means of all that were measured since reset().
///
/// Context: create, use and delete with one and the same context current.
class FrameMeter
{
    Q_DISABLE_COPY(FrameMeter)

public:
    FrameMeter();
    ~FrameMeter();

    void begin();
    /// Waits until the GPU is done.
    void end();
    void reset();

    int frames() const { return _frames; }
    /// In words.
    QStringList describe() const;

private:
    /// Takes a frame's time on the GPU into the sum, unless the driver makes no sense.
    void addGpuTime(double longest);

    int _frames = 0;
    int _timedFrames = 0;  ///< whose time on the GPU is known
    double _cpuTime = 0.0; ///< milliseconds until all calls of the frames were made
    double _gpuTime = 0.0;
    double _wholeTime = 0.0;
    GLCalls _calls;
    QElapsedTimer _timer;
    unsigned int _query = 0;                 ///< 0 where the driver has no timer
    std::unique_ptr<GLCallCounter> _counter; ///< within a frame
};

} // namespace zelview
