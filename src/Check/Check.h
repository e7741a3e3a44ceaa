#pragma once

#include "CheckExport.h"

namespace Orvane { namespace ZelCheck {

/// Explains why a picture is empty or wrong: while it runs, it checks the state of GL at each draw and the errors of each call,
/// and logs a line with the mistake and its remedy.
///
/// \snippet check.cpp Check
///
/// All calls through the table of GLLoader.h are checked; entry points that the host or ZelGL look up themselves, such as
/// those of base-instance drawing, are not. docs/check.md lists the messages. The interface may change before 2.0.
///
/// A host that links the library and calls a GL function before initializeGLFunctions() gets a message instead of a crash,
/// whether the check runs or not.
///
/// Units:   none.
/// Context: start() and stop() while no other thread makes GL calls; a current context is not needed.
/// Errors:  messages are warnings of the category "default" and begin with "[ZelCheck]". The same mistake with the same program
///          and object is logged once.
class ZELCHECK_EXPORT Check
{
public:
    struct Options
    {
        /// Also compares indices with the sizes of the vertex buffers. Reads the indices back in each indexed draw, which waits
        /// for the GPU.
        bool readIndices = false;
    };

    /// Starts the check; before initializeGLFunctions(), it starts with that call. A later call only changes the options.
    /// ZELGL_CHECK=1 calls it with the defaults, ZELGL_CHECK=2 with readIndices.
    static void start(const Options &options);
    static void start() { start(Options()); }

    /// Ends the check. The table is as it was before start(), if taps that were installed later have been removed.
    static void stop();

    static bool isRunning();

    /// Reports what the frame left bound: a program, a vertex array, a framebuffer other than that of the window, textures.
    /// Call it at the end of a frame, with the context current. Does nothing while the check does not run.
    static void endFrame();

    /// Makes mistakes that were logged before be logged again.
    static void forgetReports();
};

/// Runs the check during its lifetime, if it was not running before.
///
/// \snippet check.cpp Scope
///
class ZELCHECK_EXPORT Scope
{
public:
    explicit Scope(const Check::Options &options);
    Scope()
        : Scope(Check::Options())
    {
    }
    ~Scope();

    Scope(const Scope &) = delete;
    Scope &operator=(const Scope &) = delete;

private:
    bool _started;
};

}} // namespace Orvane::ZelCheck
