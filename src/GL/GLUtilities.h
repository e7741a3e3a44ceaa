#pragma once

/// \file
/// The floor of the library: the call that fills the table of GL entry points,
/// the questions about version and extensions, the format tables, and the GL
/// error and debug-output diagnostics that a host may switch on.
///
/// \snippet frame.cpp GLUtilities
///
/// Context: everything here needs a current context, except the format tables
///          and stringForGLError().
/// Errors:  reported through Reporting.h; nothing here stops the process.

#include "GLLoader.h"
#include "Reporting.h"

/// Fills the entry-point table and registers the texture recognisers. Once per
/// process, before any other GL object of the library is made; true when the
/// table is loaded. Without a current context it fails. After a failure the next
/// call tries again.
///
/// Until it succeeds, queries return false or 0 and wrappers of GL objects get no
/// name, each with an assertion in the log. Other calls that need GL are not
/// checked: most have no function to call.
ZELGL_EXPORT bool initializeGLFunctions();

/// Routes GL debug output to the log at debug level, in synchronous mode. Debug
/// output itself must be on by other means, such as a debug context. False when
/// the driver lacks GL_ARB_debug_output.
ZELGL_EXPORT bool initializeGLDebugging();

/// An entry point by name, or null, which is logged unless \a quiet. The driver
/// may answer any name with a stub: test for the version or extension first.
ZELGL_EXPORT void *getGLProcAddress(const char *name, bool quiet);

/// Whether the current context advertises an extension, named with or without
/// "GL_". The list is read once per context. While the environment variable
/// ZEL_NO_GL_EXTENSIONS is present no list is read, and the answer for a new
/// context is no.
ZELGL_EXPORT bool hasGLExtension(const char *name);

/// Whether the current context's version is at least major.minor.
ZELGL_EXPORT bool openGlVersionSupported(int major, int minor);

/// Logs the bound draw framebuffer and its first colour and depth attachment.
ZELGL_EXPORT void logGLFramebuffer();

/// Reserved; a null pointer.
ZELGL_EXPORT void *zelGetMemory();

/// Bytes per texel of an internal format, or of an index element for
/// GL_UNSIGNED_SHORT and GL_UNSIGNED_INT. Compressed formats answer the size of
/// what they decode to. 0 and a critical line where there is no answer.
ZELGL_EXPORT int bytesFromInternalFormat(unsigned int internalFormat);

/// The transfer type of an internal format; 0 and a critical line where there is none.
ZELGL_EXPORT unsigned int typeFromInternalFormat(unsigned int internalFormat);

/// The transfer format of an internal format; 0 and a critical line where there is none.
ZELGL_EXPORT unsigned int formatFromInternalFormat(unsigned int internalFormat);

namespace Orvane { namespace Zel {

// The format tables are known by this namespace too.
using ::bytesFromInternalFormat;
using ::formatFromInternalFormat;
using ::typeFromInternalFormat;

/// A GL error code in words.
ZELGL_EXPORT const char *stringForGLError(GLenum error);

/// Logs the pending GL errors, at most ten, as of the caller's file and line.
ZELGL_EXPORT void checkGLError(const char *file, int line);

/// The same, and true when there was an error.
ZELGL_EXPORT bool hasGLError(const char *file, int line);

}} // namespace Orvane::Zel
