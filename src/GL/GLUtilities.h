#pragma once

/// \file
/// The base of the library: initialization of the GL entry points, version and
/// extension queries, format tables, and the diagnostics of GL errors and debug
/// output that a host may enable.
///
/// \snippet frame.cpp GLUtilities
///
/// Context: all functions need a current context, except the format tables and
///          stringForGLError().
/// Errors:  are logged through Reporting.h; none stops the process.

#include "GLLoader.h"
#include "Reporting.h"

/// Loads the GL entry points and registers the texture recognisers. Call it once
/// per process, before you construct any GL object of the library. Returns true if
/// the entry points are loaded. It fails without a current context; after a failure
/// the next call tries again.
///
/// Until it succeeds, queries return false or 0, and wrappers of GL objects get no
/// name; each of these calls logs an assertion. Other calls that need GL are not
/// checked, and most of them would call a null pointer.
ZELGL_EXPORT bool initializeGLFunctions();

/// Sends GL debug output to the log at debug level, in synchronous mode. The host
/// must enable debug output itself, for example with a debug context. Returns false
/// if the driver lacks GL_ARB_debug_output.
ZELGL_EXPORT bool initializeGLDebugging();

/// Returns an entry point by its name. If there is none, returns null and, unless
/// \a quiet, logs that. The driver may return a stub for any name: check the version
/// or the extension first.
ZELGL_EXPORT void *getGLProcAddress(const char *name, bool quiet);

/// Returns true if the current context advertises the extension; the name may start
/// with "GL_" or not. The list of extensions is read once per context. While the
/// environment variable ZEL_NO_GL_EXTENSIONS is present no list is read, and a new
/// context has no extensions.
ZELGL_EXPORT bool hasGLExtension(const char *name);

/// Returns true if the version of the current context is at least major.minor.
ZELGL_EXPORT bool openGlVersionSupported(int major, int minor);

/// Logs the bound draw framebuffer and its first colour and depth attachment.
ZELGL_EXPORT void logGLFramebuffer();

/// Reserved; returns null.
ZELGL_EXPORT void *zelGetMemory();

/// The bytes per texel of an internal format or, for GL_UNSIGNED_SHORT and
/// GL_UNSIGNED_INT, per index. For a compressed format it is the size of the decoded
/// texel. For an unknown format, logs a critical message and returns 0.
ZELGL_EXPORT int bytesFromInternalFormat(unsigned int internalFormat);

/// The transfer type of an internal format. If unknown, logs a critical message and
/// returns 0.
ZELGL_EXPORT unsigned int typeFromInternalFormat(unsigned int internalFormat);

/// The transfer format of an internal format. If unknown, logs a critical message
/// and returns 0.
ZELGL_EXPORT unsigned int formatFromInternalFormat(unsigned int internalFormat);

namespace Orvane { namespace Zel {

// The format tables are also members of this namespace.
using ::bytesFromInternalFormat;
using ::formatFromInternalFormat;
using ::typeFromInternalFormat;

/// The text for a GL error code.
ZELGL_EXPORT const char *stringForGLError(GLenum error);

/// Logs the pending GL errors, at most ten, with the caller's file and line.
ZELGL_EXPORT void checkGLError(const char *file, int line);

/// Does the same, and returns true if there was an error.
ZELGL_EXPORT bool hasGLError(const char *file, int line);

}} // namespace Orvane::Zel
