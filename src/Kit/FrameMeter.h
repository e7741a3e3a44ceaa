#pragma once

#include "CallCounter.h"
#include "KitExport.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QStringList>

#include <memory>
#include <optional>

namespace Orvane { namespace ZelKit {

class OwnContext;

/// Measures what frames cost in time and GL calls, as means over all frames since reset().
///
/// \snippet kit.cpp FrameMeter
///
/// - Units: milliseconds, and numbers of GL calls.
/// - Context: create, use and delete with the same context current.
/// - Errors: without a context, and for calls in the wrong order, it logs a warning and measures nothing. The GPU time is unknown
///   if the driver has no timer.
class ZELKIT_EXPORT FrameMeter
{
    Q_DISABLE_COPY(FrameMeter)

public:
    /// What one frame costs on average.
    struct Cost
    {
        double whole = 0.0;        ///< until the GPU has finished
        double cpu = 0.0;          ///< until all GL calls have returned
        std::optional<double> gpu; ///< of the GPU's own clock
        CallCounts calls;
    };

    FrameMeter();
    ~FrameMeter();

    void begin();
    /// Waits until the GPU has finished.
    void end();
    void reset();

    int frames() const { return _frames; }
    Cost mean() const;
    /// The means as two lines, which begin with "calls" and "frame".
    QStringList describe() const;

private:
    /// Adds the GPU time of a frame, unless the driver reports more than \a longest, the wall time of the frame.
    ZELKIT_NO_EXPORT void addGpuTime(double longest);

    std::unique_ptr<OwnContext> _context;
    bool _isUsable; ///< the library was ready at the start
    int _frames = 0;
    int _timedFrames = 0; ///< frames whose GPU time is known
    double _cpuTime = 0.0;
    double _gpuTime = 0.0;
    double _wholeTime = 0.0;
    CallCounts _calls;
    QElapsedTimer _timer;
    unsigned int _query = 0;             ///< 0 if the driver has no timer
    std::optional<CallCounter> _counter; ///< within a frame
};

}} // namespace Orvane::ZelKit
