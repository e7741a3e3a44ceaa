#pragma once

#include "frame/GLCallCounter.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QStringList>

#include <memory>

namespace zelview {

/// Measures what frames cost in time and GL calls, as means over all frames since reset().
///
/// Context: create, use and delete with the same context current.
class FrameMeter
{
    Q_DISABLE_COPY(FrameMeter)

public:
    FrameMeter();
    ~FrameMeter();

    void begin();
    /// Waits until the GPU has finished.
    void end();
    void reset();

    int frames() const { return _frames; }
    /// Lines for the report.
    QStringList describe() const;

private:
    /// Adds the GPU time of a frame, unless the driver reports more than \a longest, the wall time of the frame.
    void addGpuTime(double longest);

    int _frames = 0;
    int _timedFrames = 0;  ///< frames whose GPU time is known
    double _cpuTime = 0.0; ///< milliseconds until all GL calls of the frames returned
    double _gpuTime = 0.0;
    double _wholeTime = 0.0;
    GLCalls _calls;
    QElapsedTimer _timer;
    unsigned int _query = 0;                 ///< 0 if the driver has no timer
    std::unique_ptr<GLCallCounter> _counter; ///< within a frame
};

} // namespace zelview
