#pragma once

#include "CheckExport.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace Orvane { namespace ZelCheck {

/// Explains why a picture is empty or wrong: while it runs, it checks the state of GL at each draw and the errors of each call,
/// and logs a line with the mistake and its remedy.
///
/// \snippet check.cpp Check
///
/// All calls through the table of GLLoader.h are checked, and the draws of later versions of GL that the host or ZelGL look
/// up by getGLProcAddress(). docs/check.md lists the messages. The interface may change before 2.0.
///
/// A host that links the library and calls a GL function before initializeGLFunctions() gets a message instead of a crash,
/// whether the check runs or not.
///
/// Units:   none.
/// Context: start() and stop() while no other thread makes GL calls; a current context is not needed.
/// Errors:  messages are warnings of the category "default" and begin with "[ZelCheck]". The same mistake with the same program
///          and object is logged once. They are also appended to the file that ZELGL_CHECK_LOG names, if it can be written.
class ZELCHECK_EXPORT Check
{
public:
    struct Options
    {
        /// Also compares indices with the sizes of the vertex buffers. Reads the indices back in each indexed draw, which waits
        /// for the GPU.
        bool readIndices = false;
        /// Also counts the calls that set what is set already: the bound object, the enabled capability, the value of the
        /// uniform. Each of these calls becomes several times slower.
        bool countRedundant = false;
        /// Gives labels and groups of GL_KHR_debug to the library's objects and passes, which debuggers such as apitrace and
        /// RenderDoc show. Labels of the host stay. Without the extension nothing happens.
        bool labels = false;
    };

    /// Starts the check; before initializeGLFunctions(), it starts with that call. A later call only changes the options.
    /// ZELGL_CHECK=1 calls it with the defaults, ZELGL_CHECK=2 with readIndices; the words "indices", "redundant" and "labels",
    /// separated by commas, set these options. Unknown words are reported when the check starts.
    static void start(const Options &options);
    static void start() { start(Options()); }

    /// Ends the check. The table is as it was before start(), if taps that were installed later have been removed.
    static void stop();

    static bool isRunning();

    /// Reports what the frame left bound: a program, a vertex array, a framebuffer other than that of the window, textures.
    /// Call it at the end of a frame, with the context current. Does nothing while the check does not run.
    ///
    /// With countRedundant also logs the table of redundant calls, if it is not that of the frame before.
    static void endFrame();

    /// Returns the table of redundant calls since the last table, a line each: the number of redundant calls and of all, the
    /// entry point, and the object. The most frequent ones come first. Empty if there are none.
    static QStringList takeRedundantCalls();

    /// Names an object in messages: \a identifier is that of glObjectLabel(), such as GL_TEXTURE. With the option labels it
    /// is also the label of GL. Labels that the host sets by glObjectLabel() are found without the call. Needs the context of
    /// the object; does nothing while the check does not run, and for identifiers other than those of buffers, textures,
    /// renderbuffers, queries, vertex arrays, framebuffers, programs and shaders.
    static void setLabel(unsigned int identifier, unsigned int name, const QString &text);

    /// Makes mistakes that were logged before be logged again.
    static void forgetReports();
};

/// Encloses the GL calls of its lifetime in a group of GL_KHR_debug, if the check runs with the option labels. The passes of
/// the library have groups of their own.
///
/// \snippet check.cpp Group
///
/// Context: the same one at both ends; without one, or without the extension, nothing happens.
class ZELCHECK_EXPORT Group
{
public:
    explicit Group(const char *title);
    ~Group();

    Group(const Group &) = delete;
    Group &operator=(const Group &) = delete;

private:
    bool _isOpen;
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
