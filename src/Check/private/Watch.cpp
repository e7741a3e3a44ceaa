#include "Watch.h"

#include "DrawCheck.h"
#include "Driver.h"
#include "Reports.h"

#include "../EntryPointTap.h"

#include <QtGui/QOpenGLContext>

#include <QtCore/QStringList>

#include <map>
#include <set>
#include <type_traits>
#include <utility>

namespace Orvane { namespace ZelCheck {

Driver driver;

namespace {

bool installed = false;

/// In a function, because ZELGL_CHECK=1 may start the check before this file is initialised; never destroyed, because static
/// objects of a host may delete GL objects at the end of the process.
DrawCheck &draws()
{
    static DrawCheck &data = *new DrawCheck;
    return data;
}

thread_local GLenum pendingError = GL_NO_ERROR; ///< taken from the driver and not yet from the host

template <auto Slot> constexpr const char *kNameOf = nullptr;

#define ZELCHECK_NAME(name) template <> constexpr const char *kNameOf<&name> = #name;
ZELCHECK_CORE_ENTRY_POINTS(ZELCHECK_NAME)
ZELCHECK_EXTENSION_ENTRY_POINTS(ZELCHECK_NAME)
#undef ZELCHECK_NAME

// 1. Before: what a call is checked for. The result false leaves the call out.

template <auto Slot> struct Before
{
    template <typename... Arguments> static bool of(Arguments...) { return true; }
};

bool allows(GLenum mode, GLsizei count, GLenum indexType, const void *indices, GLint first,
            GLsizei instances = 1)
{
    const bool isAllowed = draws().allows({mode, count, indexType, indices, first, instances});
    // An error of the checks themselves, with a driver that lacks a query, is not the host's.
    driver.glGetError();
    return isAllowed;
}

template <> struct Before<&glDrawArrays>
{
    static bool of(GLenum mode, GLint first, GLsizei count) { return allows(mode, count, 0, nullptr, first); }
};
template <> struct Before<&glDrawArraysInstanced>
{
    static bool of(GLenum mode, GLint first, GLsizei count, GLsizei instances)
    {
        return allows(mode, count, 0, nullptr, first, instances);
    }
};
template <> struct Before<&glDrawElements>
{
    static bool of(GLenum mode, GLsizei count, GLenum type, const void *indices)
    {
        return allows(mode, count, type, indices, 0);
    }
};
template <> struct Before<&glDrawRangeElements>
{
    static bool of(GLenum mode, GLuint, GLuint, GLsizei count, GLenum type, const void *indices)
    {
        return allows(mode, count, type, indices, 0);
    }
};
template <> struct Before<&glDrawElementsInstanced>
{
    static bool of(GLenum mode, GLsizei count, GLenum type, const void *indices, GLsizei instances)
    {
        return allows(mode, count, type, indices, 0, instances);
    }
};
template <> struct Before<&glDrawElementsBaseVertex>
{
    static bool of(GLenum mode, GLsizei count, GLenum type, const void *indices, GLint base)
    {
        return allows(mode, count, type, indices, base);
    }
};
template <> struct Before<&glDrawRangeElementsBaseVertex>
{
    static bool of(GLenum mode, GLuint, GLuint, GLsizei count, GLenum type, const void *indices, GLint base)
    {
        return allows(mode, count, type, indices, base);
    }
};
template <> struct Before<&glDrawElementsInstancedBaseVertex>
{
    static bool of(GLenum mode, GLsizei count, GLenum type, const void *indices, GLsizei instances,
                   GLint base)
    {
        return allows(mode, count, type, indices, base, instances);
    }
};

// Draws whose numbers are in arrays or in a buffer: only their state is checked.
struct ManyArrays
{
    template <typename... Rest> static bool of(GLenum mode, Rest...)
    {
        return allows(mode, -1, 0, nullptr, 0);
    }
};
struct ManyIndices
{
    template <typename... Rest> static bool of(GLenum mode, Rest...)
    {
        return allows(mode, -1, GL_UNSIGNED_INT, nullptr, 0);
    }
};
template <> struct Before<&glMultiDrawArrays> : ManyArrays
{
};
template <> struct Before<&glDrawArraysIndirect> : ManyArrays
{
};
template <> struct Before<&glMultiDrawArraysIndirect> : ManyArrays
{
};
template <> struct Before<&glMultiDrawElements> : ManyIndices
{
};
template <> struct Before<&glMultiDrawElementsBaseVertex> : ManyIndices
{
};
template <> struct Before<&glDrawElementsIndirect> : ManyIndices
{
};
template <> struct Before<&glMultiDrawElementsIndirect> : ManyIndices
{
};

// 2. Owners: the contexts that have made a name. Vertex arrays and framebuffers belong to one context, the others to its share
// group.

enum class Owned { eBuffer, eTexture, eRenderbuffer, eQuery, eVertexArray, eFramebuffer };

using Owners = std::map<std::pair<Owned, GLuint>, std::set<const void *>>;
Owners &owners = *new Owners; // never destroyed, like draws()

const void *ownerNow(Owned kind)
{
    const QOpenGLContext *context = QOpenGLContext::currentContext();
    const bool isOfContext = kind == Owned::eVertexArray || kind == Owned::eFramebuffer;
    if (context == nullptr || isOfContext) {
        return context;
    }
    return context->shareGroup();
}

void checkOwner(Owned kind, GLuint name, const char *call)
{
    const auto place = owners.find({kind, name});
    if (place == owners.end()) {
        return;
    }
    if (place->second.erase(ownerNow(kind)) != 0) {
        if (place->second.empty()) {
            owners.erase(place);
        }
        return;
    }
    report(Mistake::eDeletedElsewhere, 0, quint64(kind) << 32 | name, [&] {
        const bool hasContext = QOpenGLContext::currentContext() != nullptr;
        return QStringLiteral(
                   "%1() of object %2, which belongs to another context: %3. Make the context current that "
                   "made the object, or delete it before that context.")
            .arg(QLatin1String(call))
            .arg(name)
            .arg(QLatin1String(hasContext ? "the one that is current does not share it" : "none is current"));
    });
}

template <auto Slot, Owned Kind> struct Deletes
{
    static bool of(GLsizei count, const GLuint *names)
    {
        for (GLsizei i = 0; i < count; ++i) {
            checkOwner(Kind, names[i], kNameOf<Slot>);
        }
        return true;
    }
};
template <> struct Before<&glDeleteBuffers> : Deletes<&glDeleteBuffers, Owned::eBuffer>
{
};
template <> struct Before<&glDeleteTextures> : Deletes<&glDeleteTextures, Owned::eTexture>
{
};
template <> struct Before<&glDeleteRenderbuffers> : Deletes<&glDeleteRenderbuffers, Owned::eRenderbuffer>
{
};
template <> struct Before<&glDeleteQueries> : Deletes<&glDeleteQueries, Owned::eQuery>
{
};
template <> struct Before<&glDeleteVertexArrays> : Deletes<&glDeleteVertexArrays, Owned::eVertexArray>
{
};
template <> struct Before<&glDeleteFramebuffers> : Deletes<&glDeleteFramebuffers, Owned::eFramebuffer>
{
};

// 3. After: what a call changes in the facts. The result true means that its error has been reported.

template <auto Slot> struct After
{
    template <typename... Arguments> static bool of(GLenum, Arguments...) { return false; }
};

template <Owned Kind> struct Makes
{
    static bool of(GLenum, GLsizei count, const GLuint *names)
    {
        for (GLsizei i = 0; i < count; ++i) {
            owners[{Kind, names[i]}].insert(ownerNow(Kind));
        }
        return false;
    }
};
template <> struct After<&glGenBuffers> : Makes<Owned::eBuffer>
{
};
template <> struct After<&glGenTextures> : Makes<Owned::eTexture>
{
};
template <> struct After<&glGenRenderbuffers> : Makes<Owned::eRenderbuffer>
{
};
template <> struct After<&glGenQueries> : Makes<Owned::eQuery>
{
};
template <> struct After<&glGenVertexArrays> : Makes<Owned::eVertexArray>
{
};
template <> struct After<&glGenFramebuffers> : Makes<Owned::eFramebuffer>
{
};

template <> struct After<&glLinkProgram>
{
    static bool of(GLenum error, GLuint program)
    {
        if (error == GL_NO_ERROR) {
            draws().programs.linked(program);
        }
        return false;
    }
};
template <> struct After<&glDeleteProgram>
{
    static bool of(GLenum, GLuint program)
    {
        draws().programs.forget(program);
        forgetReportsOf(program);
        return false;
    }
};
template <> struct After<&glUseProgram>
{
    static bool of(GLenum error, GLuint program)
    {
        if (error != GL_INVALID_OPERATION) {
            return false;
        }
        report(Mistake::eProgramNotLinked, program, 0, [program] {
            return QStringLiteral(
                       "Program %1 cannot be used: it is not linked. Call link() and read the log when that "
                       "fails.")
                .arg(program);
        });
        return true;
    }
};

struct SetsUniform
{
    template <typename... Rest> static bool of(GLenum error, GLint location, Rest...)
    {
        if (location >= 0 && error == GL_NO_ERROR) {
            draws().programs.of(currentProgram()).setUniform(location);
        }
        return false;
    }
};

#define ZELCHECK_UNIFORM(name)                                                                               \
    template <> struct After<&name> : SetsUniform                                                            \
    {                                                                                                        \
    };
#define ZELCHECK_UNIFORMS(suffix)                                                                            \
    ZELCHECK_UNIFORM(glUniform1##suffix)                                                                     \
    ZELCHECK_UNIFORM(glUniform2##suffix)                                                                     \
    ZELCHECK_UNIFORM(glUniform3##suffix)                                                                     \
    ZELCHECK_UNIFORM(glUniform4##suffix)
ZELCHECK_UNIFORMS(f)
ZELCHECK_UNIFORMS(i)
ZELCHECK_UNIFORMS(ui)
ZELCHECK_UNIFORMS(fv)
ZELCHECK_UNIFORMS(iv)
ZELCHECK_UNIFORMS(uiv)
ZELCHECK_UNIFORM(glUniformMatrix2fv)
ZELCHECK_UNIFORM(glUniformMatrix3fv)
ZELCHECK_UNIFORM(glUniformMatrix4fv)
ZELCHECK_UNIFORM(glUniformMatrix2x3fv)
ZELCHECK_UNIFORM(glUniformMatrix3x2fv)
ZELCHECK_UNIFORM(glUniformMatrix2x4fv)
ZELCHECK_UNIFORM(glUniformMatrix4x2fv)
ZELCHECK_UNIFORM(glUniformMatrix3x4fv)
ZELCHECK_UNIFORM(glUniformMatrix4x3fv)
#undef ZELCHECK_UNIFORMS
#undef ZELCHECK_UNIFORM

struct ChangesTexture
{
    template <typename... Arguments> static bool of(GLenum, Arguments...)
    {
        draws().textures.forget();
        return false;
    }
};

#define ZELCHECK_TEXTURE(name)                                                                               \
    template <> struct After<&name> : ChangesTexture                                                         \
    {                                                                                                        \
    };
ZELCHECK_TEXTURE(glTexImage1D)
ZELCHECK_TEXTURE(glTexImage2D)
ZELCHECK_TEXTURE(glTexImage3D)
ZELCHECK_TEXTURE(glTexImage2DMultisample)
ZELCHECK_TEXTURE(glTexImage3DMultisample)
ZELCHECK_TEXTURE(glCompressedTexImage1D)
ZELCHECK_TEXTURE(glCompressedTexImage2D)
ZELCHECK_TEXTURE(glCompressedTexImage3D)
ZELCHECK_TEXTURE(glCopyTexImage1D)
ZELCHECK_TEXTURE(glCopyTexImage2D)
ZELCHECK_TEXTURE(glTexParameterf)
ZELCHECK_TEXTURE(glTexParameterfv)
ZELCHECK_TEXTURE(glTexParameteri)
ZELCHECK_TEXTURE(glTexParameteriv)
ZELCHECK_TEXTURE(glTexBuffer)
ZELCHECK_TEXTURE(glDeleteTextures)
#undef ZELCHECK_TEXTURE

template <int Change> struct CountsQueries
{
    template <typename... Arguments> static bool of(GLenum error, Arguments...)
    {
        draws().open.queries += error == GL_NO_ERROR ? Change : 0;
        return false;
    }
};
template <> struct After<&glBeginQuery> : CountsQueries<1>
{
};
template <> struct After<&glEndQuery> : CountsQueries<-1>
{
};
template <bool Begins> struct SetsFeedback
{
    template <typename... Arguments> static bool of(GLenum, Arguments...)
    {
        draws().open.hasFeedback = Begins;
        return false;
    }
};
template <> struct After<&glBeginTransformFeedback> : SetsFeedback<true>
{
};
template <> struct After<&glEndTransformFeedback> : SetsFeedback<false>
{
};

// 4. Errors.

struct ErrorText
{
    GLenum error;
    const char *name;
    const char *remedy;
};

constexpr ErrorText kErrors[] = {
    {GL_INVALID_ENUM, "GL_INVALID_ENUM",
     "Use an enumerator that the call and this version of GL accept: an argument is none of them."},
    {GL_INVALID_VALUE, "GL_INVALID_VALUE",
     "Check the numbers: one of them is negative, above a limit of the driver, or the name of no object."},
    {GL_INVALID_OPERATION, "GL_INVALID_OPERATION",
     "Check what is bound: the state does not allow the call, or the types of the arguments do not match the "
     "object."},
    {GL_INVALID_FRAMEBUFFER_OPERATION, "GL_INVALID_FRAMEBUFFER_OPERATION",
     "Complete the framebuffer first: attach textures with a size and a format that can be drawn to."},
    {GL_OUT_OF_MEMORY, "GL_OUT_OF_MEMORY",
     "Use smaller or fewer objects: the driver has no memory left for this one."},
};

QString describe(GLenum error)
{
    for (const ErrorText &row : kErrors) {
        if (row.error == error) {
            return QStringLiteral("%1. %2").arg(QLatin1String(row.name), QLatin1String(row.remedy));
        }
    }
    return QStringLiteral("GL error 0x%1. Look it up in the reference of GL.").arg(error, 0, 16);
}

template <typename Argument> QString textOf(Argument argument)
{
    if constexpr (std::is_pointer_v<Argument>) {
        return argument == nullptr ? QStringLiteral("null") : QStringLiteral("pointer");
    } else if constexpr (std::is_same_v<Argument, GLenum>) { // also the type of names, which are small
        return argument < 0x100 ? QString::number(argument)
                                : QStringLiteral("0x%1").arg(argument, 4, 16, QChar('0'));
    } else {
        return QString::number(argument);
    }
}

void keepError(GLenum error)
{
    if (pendingError == GL_NO_ERROR) {
        pendingError = error;
    }
}

quint64 placeOf(const char *name, GLenum error)
{
    return quint64(quintptr(name)) << 16 | error;
}

/// An error that a call outside of the table has left, which must not be blamed on this call.
void takeForeignError(const char *name)
{
    const GLenum error = driver.glGetError();
    if (error != GL_NO_ERROR) {
        keepError(error);
        report(Mistake::eGLError, 0, placeOf(name, error) << 1, [=] {
            return QStringLiteral("A call before %1(), of an entry point that is not in the table, caused %2")
                .arg(QLatin1String(name), describe(error));
        });
    }
}

template <auto Slot, typename... Arguments> void finish(int mistakesBefore, Arguments... arguments)
{
    const GLenum error = driver.glGetError();
    const bool isReported = After<Slot>::of(error, arguments...);
    if (error == GL_NO_ERROR) {
        return;
    }
    keepError(error);
    if (!isReported && mistakesSeen() == mistakesBefore) { // otherwise the cause has been reported
        report(Mistake::eGLError, 0, placeOf(kNameOf<Slot>, error), [&] {
            const QStringList words = {textOf(arguments)...};
            return QStringLiteral("%1(%2) caused %3")
                .arg(QLatin1String(kNameOf<Slot>), words.join(QLatin1String(", ")), describe(error));
        });
    }
}

// 5. The visitors.

struct Watcher
{
    template <auto Slot, typename Result, typename... Arguments>
    static Result call(Result(APIENTRY *next)(Arguments...), Arguments... arguments)
    {
        if (Inside::isActive() || !installed) {
            return next(arguments...);
        }
        if constexpr (std::is_same_v<std::integral_constant<decltype(Slot), Slot>,
                                     std::integral_constant<decltype(&glGetError), &glGetError>>) {
            const GLenum error = std::exchange(pendingError, GLenum(GL_NO_ERROR));
            return error != GL_NO_ERROR ? error : next();
        } else {
            Inside inside;
            takeForeignError(kNameOf<Slot>);
            const int mistakesBefore = mistakesSeen();
            if (!Before<Slot>::of(arguments...)) {
                return Result();
            }
            inside.pause();
            if constexpr (std::is_void_v<Result>) {
                next(arguments...);
                inside.resume();
                finish<Slot>(mistakesBefore, arguments...);
            } else {
                const Result result = next(arguments...);
                inside.resume();
                finish<Slot>(mistakesBefore, arguments...);
                return result;
            }
        }
    }
};

struct NotInitialized
{
    template <auto Slot, typename Result, typename... Arguments>
    static Result call(Result(APIENTRY *next)(Arguments...), Arguments... arguments)
    {
        if (next != nullptr) {
            return next(arguments...);
        }
        if (!Inside::isActive()) {
            const Inside inside;
            report(Mistake::eNotInitialized, 0, quintptr(kNameOf<Slot>), [] {
                return QStringLiteral("initializeGLFunctions() has not been called, so %1() has no effect. "
                                      "Call it once, "
                                      "with a context current.")
                    .arg(QLatin1String(kNameOf<Slot>));
            });
        }
        return Result();
    }
};

#define ZELCHECK_SLOT(name) , &name
template <typename Visitor, typename Ignored, auto... Slots>
struct Without : EntryPointTaps<Visitor, Slots...>
{
};
template <typename Visitor> using CoreTaps = Without<Visitor, void ZELCHECK_CORE_ENTRY_POINTS(ZELCHECK_SLOT)>;
template <typename Visitor>
using ExtensionTaps = Without<Visitor, void ZELCHECK_EXTENSION_ENTRY_POINTS(ZELCHECK_SLOT)>;
#undef ZELCHECK_SLOT

} // namespace

namespace Watch {

void fillEmpty(bool all)
{
    CoreTaps<NotInitialized>::fill();
    if (all) {
        ExtensionTaps<NotInitialized>::fill();
    }
}

void clearEmpty()
{
    CoreTaps<NotInitialized>::remove();
    ExtensionTaps<NotInitialized>::remove();
}

bool isTableSet()
{
    return glGetIntegerv != nullptr && !EntryPointTap<&glGetIntegerv, NotInitialized>::isOnTop();
}

void install(bool readsIndices)
{
    draws().readsIndices = readsIndices;
    if (!installed) {
        installed = true;
#define ZELCHECK_TAKE(name) driver.name = name;
        ZELCHECK_CORE_ENTRY_POINTS(ZELCHECK_TAKE)
        ZELCHECK_EXTENSION_ENTRY_POINTS(ZELCHECK_TAKE)
#undef ZELCHECK_TAKE
        CoreTaps<Watcher>::install();
        ExtensionTaps<Watcher>::install();
    }
}

void remove()
{
    CoreTaps<Watcher>::remove();
    ExtensionTaps<Watcher>::remove();
    installed = false;
    draws() = DrawCheck();
    owners.clear();
    pendingError = GL_NO_ERROR;
    forgetReports();
}

bool isInstalled()
{
    return installed;
}

} // namespace Watch

}} // namespace Orvane::ZelCheck
