#include "GLUtilities.h"

#include "private/BuiltinRecognisers.h"
#include "private/ContextState.h"
#include "private/EntryPoint.h"
#include "private/GLValues.h"

#include <QtCore/QMutexLocker>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtGui/QOpenGLContext>

#include <GL/glx.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>

namespace {

using Orvane::Zel::integerFromGL;
using Orvane::Zel::kNotInitialized;

// One table of entry points serves all contexts: GLX returns the same addresses for all of them.
bool initialized = false; ///< initializeGLFunctions() has succeeded

QSet<QString> readExtensions()
{
    QSet<QString> extensions;
    const GLint count = integerFromGL(GL_NUM_EXTENSIONS);
    for (GLint i = 0; i < count; ++i) {
        const GLubyte *name = glGetStringi(GL_EXTENSIONS, static_cast<GLuint>(i));
        extensions.insert(QString::fromLatin1(reinterpret_cast<const char *>(name)));
    }
    return extensions;
}

struct Word
{
    GLenum value;
    const char *text;
};

// Required: these words, and "<unknown>" for other values; see GLDebuggingTest.ADriverMessageIsPutIntoWords.
const Word kDebugSources[] = {
    {GL_DEBUG_SOURCE_API, "api"},
    {GL_DEBUG_SOURCE_WINDOW_SYSTEM, "window system"},
    {GL_DEBUG_SOURCE_SHADER_COMPILER, "shader compiler"},
    {GL_DEBUG_SOURCE_THIRD_PARTY, "thirdparty"},
    {GL_DEBUG_SOURCE_APPLICATION, "application"},
    {GL_DEBUG_SOURCE_OTHER, "other"},
};

const Word kDebugTypes[] = {
    {GL_DEBUG_TYPE_ERROR, "error"},
    {GL_DEBUG_TYPE_DEPRECATED_BEHAVIOR, "deprecated behaviour"},
    {GL_DEBUG_TYPE_UNDEFINED_BEHAVIOR, "undefined behaviour"},
    {GL_DEBUG_TYPE_PORTABILITY, "portability"},
    {GL_DEBUG_TYPE_PERFORMANCE, "performance"},
    {GL_DEBUG_TYPE_OTHER, "other"},
    {GL_DEBUG_TYPE_MARKER, "marker"},
    {GL_DEBUG_TYPE_PUSH_GROUP, "push group"},
    {GL_DEBUG_TYPE_POP_GROUP, "pop group"},
};

const Word kDebugSeverities[] = {
    {GL_DEBUG_SEVERITY_HIGH, "high"},
    {GL_DEBUG_SEVERITY_MEDIUM, "medium"},
    {GL_DEBUG_SEVERITY_LOW, "low"},
    {GL_DEBUG_SEVERITY_NOTIFICATION, "notification"},
};

// Required: these words, including the code without an error; see GLErrorTest.AtMostTenErrorsAreLoggedByOneCallEachByName.
const Word kErrors[] = {
    {GL_NO_ERROR, "no error"},           {GL_INVALID_ENUM, "invalid enum"},
    {GL_INVALID_VALUE, "invalid value"}, {GL_INVALID_OPERATION, "invalid operation"},
    {GL_OUT_OF_MEMORY, "out of memory"}, {GL_INVALID_FRAMEBUFFER_OPERATION, "invalid framebuffer operation"},
};

template <std::size_t N> const char *wordFor(const Word (&words)[N], GLenum value, const char *unknown)
{
    const Word *word =
        std::find_if(std::begin(words), std::end(words), [value](const Word &w) { return w.value == value; });
    return word == std::end(words) ? unknown : word->text;
}

void APIENTRY onGLDebugMessage(GLenum source, GLenum type, GLuint id, GLenum severity, GLsizei,
                               const GLchar *message, const void *)
{
    constexpr const char *unknown = "<unknown>";
    // One level for all severities: drivers disagree on them, and the text contains the severity.
    ZEL_LOG_DEBUG("OpenGL message [id=0x%x, source=%s, type=%s, severity=%s]: %s", id,
                  wordFor(kDebugSources, source, unknown), wordFor(kDebugTypes, type, unknown),
                  wordFor(kDebugSeverities, severity, unknown), message);
}

/// The size, transfer type and transfer format of an internal format; 0: not known.
struct FormatRow
{
    GLenum internalFormat;
    int bytes;
    GLenum type;
    GLenum format;
};

// Sorted by internal format. Required: the zeros, since hosts depend on the messages for them; see FormatUtilitiesTest.
constexpr FormatRow kFormats[] = {
    {GL_UNSIGNED_SHORT, 2, 0, 0},
    {GL_UNSIGNED_INT, 4, 0, 0},
    {GL_RED, 1, GL_UNSIGNED_BYTE, GL_RED},
    {GL_RGB, 3, GL_UNSIGNED_BYTE, GL_RGB},
    {GL_RGBA, 4, GL_UNSIGNED_BYTE, GL_RGBA},
    {GL_RGB8, 3, GL_UNSIGNED_BYTE, GL_RGB},
    {GL_RGB16, 0, GL_UNSIGNED_SHORT, GL_RGB},
    {GL_RGBA8, 4, GL_UNSIGNED_BYTE, GL_RGBA},
    {GL_RGB10_A2, 4, GL_UNSIGNED_INT_2_10_10_10_REV, GL_RGBA},
    {GL_RGBA16, 0, GL_UNSIGNED_SHORT, GL_RGBA},
    {GL_DEPTH_COMPONENT16, 0, GL_UNSIGNED_SHORT, GL_DEPTH_COMPONENT},
    {GL_DEPTH_COMPONENT24, 0, 0, GL_DEPTH_COMPONENT},
    {GL_DEPTH_COMPONENT32, 0, 0, GL_DEPTH_COMPONENT},
    {GL_RG, 2, GL_UNSIGNED_BYTE, GL_RG},
    {GL_R8, 1, GL_UNSIGNED_BYTE, GL_RED},
    {GL_R16, 0, GL_UNSIGNED_SHORT, GL_RED},
    {GL_RG8, 2, GL_UNSIGNED_BYTE, GL_RG},
    {GL_RG16, 0, GL_UNSIGNED_SHORT, GL_RG},
    {GL_R16F, 2, GL_HALF_FLOAT, GL_RED},
    {GL_R32F, 4, GL_FLOAT, GL_RED},
    {GL_RG16F, 4, GL_HALF_FLOAT, GL_RG},
    {GL_RG32F, 8, GL_FLOAT, GL_RG},
    {GL_R16I, 0, GL_SHORT, GL_RED_INTEGER},
    {GL_R16UI, 0, 0, GL_RED_INTEGER},
    {GL_R32I, 4, GL_INT, GL_RED_INTEGER},
    {GL_R32UI, 4, GL_UNSIGNED_INT, GL_RED_INTEGER},
    {GL_RG16I, 0, 0, GL_RG_INTEGER},
    {GL_RG16UI, 0, 0, GL_RG_INTEGER},
    {GL_RG32I, 8, GL_INT, GL_RG_INTEGER},
    {GL_RG32UI, 8, GL_UNSIGNED_INT, GL_RG_INTEGER},
    {GL_DEPTH_STENCIL, 0, 0, GL_DEPTH_STENCIL},
    {GL_RGBA32F, 16, GL_FLOAT, GL_RGBA},
    {GL_RGB32F, 12, GL_FLOAT, GL_RGB},
    {GL_RGBA16F, 8, GL_HALF_FLOAT, GL_RGBA},
    {GL_RGB16F, 6, GL_HALF_FLOAT, GL_RGB},
    {GL_DEPTH24_STENCIL8, 0, 0, GL_DEPTH_STENCIL},
    {GL_R11F_G11F_B10F, 4, GL_HALF_FLOAT, GL_RGB},
    {GL_SRGB, 3, GL_UNSIGNED_BYTE, GL_RGB},
    {GL_SRGB8, 3, GL_UNSIGNED_BYTE, GL_RGB},
    {GL_SRGB_ALPHA, 4, GL_UNSIGNED_BYTE, GL_RGBA},
    {GL_SRGB8_ALPHA8, 4, GL_UNSIGNED_BYTE, GL_RGBA},
    {GL_DEPTH_COMPONENT32F, 0, GL_FLOAT, GL_DEPTH_COMPONENT},
    {GL_DEPTH32F_STENCIL8, 0, 0, GL_DEPTH_STENCIL},
    {GL_RGBA32UI, 16, GL_UNSIGNED_INT, GL_RGBA_INTEGER},
    {GL_RGB32UI, 12, GL_UNSIGNED_INT, GL_RGB_INTEGER},
    {GL_RGBA16UI, 0, 0, GL_RGBA_INTEGER},
    {GL_RGB16UI, 0, 0, GL_RGB_INTEGER},
    {GL_RGBA32I, 16, GL_INT, GL_RGBA_INTEGER},
    {GL_RGB32I, 12, GL_INT, GL_RGB_INTEGER},
    {GL_RGBA16I, 0, 0, GL_RGBA_INTEGER},
    {GL_RGB16I, 0, 0, GL_RGB_INTEGER},
    {GL_COMPRESSED_R11_EAC, 1, GL_UNSIGNED_BYTE, GL_RED},
    {GL_COMPRESSED_SIGNED_R11_EAC, 1, GL_UNSIGNED_BYTE, GL_RED},
    {GL_COMPRESSED_RG11_EAC, 2, GL_UNSIGNED_BYTE, GL_RG},
    {GL_COMPRESSED_SIGNED_RG11_EAC, 2, GL_UNSIGNED_BYTE, GL_RG},
    {GL_COMPRESSED_RGBA8_ETC2_EAC, 4, GL_UNSIGNED_BYTE, GL_RGBA},
    {GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC, 4, GL_UNSIGNED_BYTE, GL_RGBA},
};

constexpr bool formatsAreSorted()
{
    for (std::size_t i = 1; i < std::size(kFormats); ++i) {
        if (kFormats[i - 1].internalFormat >= kFormats[i].internalFormat) {
            return false;
        }
    }
    return true;
}
static_assert(formatsAreSorted(), "the look-up is a binary search");

const FormatRow &formatRow(GLenum internalFormat)
{
    static constexpr FormatRow unknown = {0, 0, 0, 0};
    const FormatRow *row =
        std::lower_bound(std::begin(kFormats), std::end(kFormats), internalFormat,
                         [](const FormatRow &r, GLenum value) { return r.internalFormat < value; });
    return row != std::end(kFormats) && row->internalFormat == internalFormat ? *row : unknown;
}

/// glXGetProcAddress() also succeeds without a context, but then the functions do nothing, and GL returns no version.
bool hasContext()
{
    return glGetString == nullptr || glGetString(GL_VERSION) != nullptr;
}

} // namespace

bool initializeGLFunctions()
{
    if (initialized) {
        return true;
    }
    initialized = true;
    if (ogl_LoadFunctions() == 0 || !hasContext()) {
        const char *version = "";
        if (_ptrc_glGetString != nullptr) {
            // The version explains most failures. It is null without a context, and the function is null if the load failed
            // early.
            version = reinterpret_cast<const char *>(glGetString(GL_VERSION));
        }
        ZEL_LOG_CRITICAL("Failed to initialize OpenGL '%s'", version != nullptr ? version : "");
        initialized = false;
    }
    Orvane::Zel::
        registerBuiltinRecognisers(); // required after a failure too, so that the next call registers them again
    return initialized;
}

bool initializeGLDebugging()
{
    ZEL_ASSERT_RETURN(nullptr != glEnable, false, kNotInitialized);
    const auto messageControl = reinterpret_cast<PFNGLDEBUGMESSAGECONTROLARBPROC>(
        getGLProcAddress("glDebugMessageControlARB", false));
    if (messageControl == nullptr) {
        return false;
    }
    // Both functions are looked up before the first call, so that a driver with one of them changes nothing; see
    // GLDebuggingTest.AllButGroupsAndOneMessageIsSwitchedOnOrNothingIfAFunctionIsMissing.
    const auto messageCallback = reinterpret_cast<PFNGLDEBUGMESSAGECALLBACKARBPROC>(
        getGLProcAddress("glDebugMessageCallbackARB", false));
    if (messageCallback == nullptr) {
        return false;
    }
    // NVIDIA reports the memory placement of each buffer, which is of no use to a host.
    const GLuint bufferPlacementMessage = 131185;
    // Everything is enabled first: GL disables messages of low severity by default. The groups come from the calls of the host
    // itself.
    messageControl(GL_DONT_CARE, GL_DONT_CARE, GL_DONT_CARE, 0, nullptr, GL_TRUE);
    messageControl(GL_DONT_CARE, GL_DEBUG_TYPE_PUSH_GROUP, GL_DEBUG_SEVERITY_NOTIFICATION, 0, nullptr,
                   GL_FALSE);
    messageControl(GL_DONT_CARE, GL_DEBUG_TYPE_POP_GROUP, GL_DEBUG_SEVERITY_NOTIFICATION, 0, nullptr,
                   GL_FALSE);
    messageControl(GL_DEBUG_SOURCE_API, GL_DEBUG_TYPE_OTHER, GL_DONT_CARE, 1, &bufferPlacementMessage,
                   GL_FALSE);
    messageCallback(&onGLDebugMessage, nullptr);
    // A synchronous message arrives in the call that causes it, so that a breakpoint shows the caller; see
    // GLDebuggingTest.TheDriverReportsInTheCallThatIsWrong.
    glEnable(GL_DEBUG_OUTPUT_SYNCHRONOUS);
    return true;
}

void *getGLProcAddress(const char *name, bool quiet)
{
    // An address does not prove that the driver has the function, since GLX may return a stub: callers test the extension or
    // the version as well.
    void *address = reinterpret_cast<void *>(glXGetProcAddress(reinterpret_cast<const GLubyte *>(name)));
    if (address == nullptr && !quiet) {
        ZEL_LOG_DEBUG("Failed to obtain '%s'", name);
    }
    return address;
}

bool hasGLExtension(const char *name)
{
    // The variable lets the suite run the paths for old drivers on a new one.
    const bool extensionsAllowed = std::getenv("ZEL_NO_GL_EXTENSIONS") == nullptr;
    ZEL_ASSERT_RETURN(!extensionsAllowed || nullptr != glGetStringi, false, kNotInitialized);
    auto &known = Orvane::Zel::ContextState::current().extensions;
    const QMutexLocker locker(&Orvane::Zel::ContextState::mutex);
    if (!known) { // never refreshed, even if the variable made it empty; see GLUtilitiesTest
        known = extensionsAllowed ? readExtensions() : QSet<QString>();
    }
    const QSet<QString> &extensions = *known;
    const QString wanted = QString::fromLatin1(name);
    const QString prefix = QStringLiteral("GL_");
    // Callers name extensions with and without the prefix; see
    // GLUtilitiesOwnProcessTest.AnExtensionIsFoundInEitherSpellingAndReadOncePerContext.
    const QString otherSpelling = wanted.startsWith(prefix) ? wanted.mid(prefix.size()) : prefix + wanted;
    return extensions.contains(wanted) || extensions.contains(otherSpelling);
}

bool openGlVersionSupported(int major, int minor)
{
    ZEL_ASSERT_RETURN(nullptr != glGetIntegerv, false, kNotInitialized);
    const GLint contextMajor = integerFromGL(GL_MAJOR_VERSION);
    if (contextMajor != major) {
        return contextMajor > major;
    }
    // Queried only if it decides; see GLUtilitiesTest.TheVersionTestQueriesTheMinorVersionOnlyIfTheMajorIsEqual.
    return integerFromGL(GL_MINOR_VERSION) >= minor;
}

void logGLFramebuffer()
{
    ZEL_ASSERT_RETURN(nullptr != glGetString, , kNotInitialized);
    QString line = QString::asprintf("logGLFramebuffer() [%p] '%s'",
                                     static_cast<void *>(QOpenGLContext::currentContext()),
                                     reinterpret_cast<const char *>(glGetString(GL_VERSION)));
    line += QString::asprintf(" [fb] %3d", integerFromGL(GL_DRAW_FRAMEBUFFER_BINDING));
    // Type and name: textures and renderbuffers have independent names, so the same number can mean both.
    const auto attachment = [](GLenum point, GLenum parameter) {
        GLint value = 0;
        glGetFramebufferAttachmentParameteriv(GL_DRAW_FRAMEBUFFER, point, parameter, &value);
        return value;
    };
    const auto append = [&](const char *format, GLenum point) {
        const GLint type = attachment(point, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_TYPE);
        const GLint name = attachment(point, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME);
        line += QString::asprintf(format, static_cast<unsigned int>(type), name);
    };
    append(" [0] 0x%04X %3d", GL_COLOR_ATTACHMENT0);
    append(" [d] 0x%04X %d", GL_DEPTH_ATTACHMENT);
    ZEL_BARE_DEBUG("%s", line.toLocal8Bit().constData());
}

void *zelGetMemory()
{
    return nullptr;
}

int bytesFromInternalFormat(unsigned int internalFormat)
{
    const int bytes = formatRow(internalFormat).bytes;
    if (bytes == 0) {
        ZEL_BARE_CRITICAL("bytesFromInternalFormat() does not implement yet : 0x%04X", internalFormat);
    }
    return bytes;
}

unsigned int typeFromInternalFormat(unsigned int internalFormat)
{
    const GLenum type = formatRow(internalFormat).type;
    if (type == 0) {
        ZEL_BARE_CRITICAL("typeFromInternalFormat() does not implement yet : 0x%04X", internalFormat);
    }
    return type;
}

unsigned int formatFromInternalFormat(unsigned int internalFormat)
{
    const GLenum format = formatRow(internalFormat).format;
    if (format == 0) {
        ZEL_BARE_CRITICAL("formatFromInternalFormat() does not implement yet : 0x%04X", internalFormat);
    }
    return format;
}

namespace Orvane { namespace Zel {

const char *stringForGLError(GLenum error)
{
    return wordFor(kErrors, error, "unknown error");
}

void checkGLError(const char *file, int line)
{
    hasGLError(file, line);
}

bool hasGLError(const char *file, int line)
{
    if (_ptrc_glGetError == nullptr) {
        return false;
    }
    GLenum error = glGetError();
    if (error == GL_NO_ERROR) {
        return false;
    }
    constexpr int mostErrors = 10;
    for (int logged = 0; error != GL_NO_ERROR && logged < mostErrors; ++logged) {
        ZEL_BARE_WARNING("[%s:%d] glError: 0x%X '%s' caught", file, line, error, stringForGLError(error));
        error = glGetError();
    }
    return true;
}

}} // namespace Orvane::Zel
