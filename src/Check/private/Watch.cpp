#include "Watch.h"

#include "DrawHooks.h"
#include "ObjectHooks.h"
#include "RepeatHooks.h"
#include "StateHooks.h"

#include "../EntryPointTap.h"

#include <QtCore/QStringList>

#include <cstring>
#include <initializer_list>
#include <type_traits>
#include <utility>

namespace Orvane { namespace ZelCheck {

Driver driver;

DrawCheck &draws()
{
    static DrawCheck &data = *new DrawCheck;
    return data;
}

namespace {

bool installed = false;

thread_local GLenum pendingError = GL_NO_ERROR; ///< taken from the driver and not yet from the host

// 1. Errors.

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

/// An argument of a call, for its message. One function writes them all: a template for each entry point compiles for seconds.
struct Word
{
    enum Type { ePointer, eEnum, eSigned, eUnsigned, eReal };
    Type type;
    quint64 bits;
    double real;
};

template <typename Argument> Word wordOf(Argument argument)
{
    if constexpr (std::is_pointer_v<Argument>) {
        return {Word::ePointer, quintptr(argument), 0.0};
    } else if constexpr (std::is_floating_point_v<Argument>) {
        return {Word::eReal, 0, argument};
    } else if constexpr (std::is_same_v<Argument, GLenum>) { // also the type of names, which are small
        return {Word::eEnum, argument, 0.0};
    } else {
        return {std::is_signed_v<Argument> ? Word::eSigned : Word::eUnsigned, quint64(argument), 0.0};
    }
}

QString textOf(const Word &word)
{
    switch (word.type) {
    case Word::ePointer:
        return word.bits == 0 ? QStringLiteral("null") : QStringLiteral("pointer");
    case Word::eEnum:
        return word.bits < 0x100 ? QString::number(word.bits)
                                 : QStringLiteral("0x%1").arg(word.bits, 4, 16, QChar('0'));
    case Word::eSigned:
        return QString::number(qint64(word.bits));
    case Word::eUnsigned:
        return QString::number(word.bits);
    case Word::eReal:
        break;
    }
    return QString::number(word.real);
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

/// What the check does around a call of any entry point.
class Around
{
public:
    Around(const char *name, bool keepsState);

    /// Before and after the call of the driver.
    void pause() { _inside.pause(); }
    void resume() { _inside.resume(); }

    /// For an error of the call; \a isReported: its cause has a message of its own.
    void takeError(GLenum error, bool isReported, std::initializer_list<Word> arguments) const;

private:
    Inside _inside;
    const char *_name;
    int _mistakesBefore;
};

Around::Around(const char *name, bool keepsState)
    : _name(name)
{
    takeForeignError(name);
    _mistakesBefore = mistakesSeen();
    draws().changes += keepsState ? 0 : 1;
}

void Around::takeError(GLenum error, bool isReported, std::initializer_list<Word> arguments) const
{
    keepError(error);
    if (!isReported && mistakesSeen() == _mistakesBefore) { // otherwise the cause has been reported
        report(Mistake::eGLError, 0, placeOf(_name, error), [&] {
            QStringList words;
            for (const Word &argument : arguments) {
                words += textOf(argument);
            }
            return QStringLiteral("%1(%2) caused %3")
                .arg(QLatin1String(_name), words.join(QLatin1String(", ")), describe(error));
        });
    }
}

template <auto Slot, typename... Arguments> void countRepeat(Arguments... arguments)
{
    if constexpr (Repeated<Slot>::isKnown) {
        if (repeats().isOn) {
            repeats().add(kNameOf<Slot>, Repeated<Slot>::of(arguments...));
            driver.glGetError(); // an error of the queries is not the host's
        }
    }
}

// 2. The visitors.

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
            constexpr bool keeps = keepsState(kNameOf<Slot>);
            Around around(kNameOf<Slot>, keeps);
            countRepeat<Slot>(arguments...);
            if (!Before<Slot>::of(arguments...)) {
                return Result();
            }
            around.pause();
            if constexpr (std::is_void_v<Result>) {
                next(arguments...);
                around.resume();
                finish<Slot>(around, arguments...);
            } else {
                const Result result = next(arguments...);
                around.resume();
                Made<Slot>::of(result);
                finish<Slot>(around, arguments...);
                return result;
            }
        }
    }

private:
    template <auto Slot, typename... Arguments>
    static void finish(const Around &around, Arguments... arguments)
    {
        const GLenum error = driver.glGetError();
        const bool isReported = After<Slot>::of(error, arguments...);
        if (error != GL_NO_ERROR) {
            around.takeError(error, isReported, {wordOf(arguments)...});
        }
    }
};

void reportNotInitialized(const char *name)
{
    if (!Inside::isActive()) {
        const Inside inside;
        report(Mistake::eNotInitialized, 0, quintptr(name), [name] {
            return QStringLiteral("initializeGLFunctions() has not been called, so %1() has no effect. "
                                  "Call it once, with a context current.")
                .arg(QLatin1String(name));
        });
    }
}

struct NotInitialized
{
    template <auto Slot, typename Result, typename... Arguments>
    static Result call(Result(APIENTRY *next)(Arguments...), Arguments... arguments)
    {
        if (next != nullptr) {
            return next(arguments...);
        }
        reportNotInitialized(kNameOf<Slot>);
        return Result();
    }
};

// Each name of a list brings the comma before it, and so needs an argument before the first one.
#define ZELCHECK_SLOT(name) , &name
template <typename Visitor, typename Ignored, auto... Slots> struct TapsOf : EntryPointTaps<Visitor, Slots...>
{
};
template <typename Visitor> using CoreTaps = TapsOf<Visitor, void ZELCHECK_CORE_ENTRY_POINTS(ZELCHECK_SLOT)>;
template <typename Visitor>
using ExtensionTaps = TapsOf<Visitor, void ZELCHECK_EXTENSION_ENTRY_POINTS(ZELCHECK_SLOT)>;
#undef ZELCHECK_SLOT

/// The wrapper of a function outside of the table. A second function of the same name, which only a test can have, stays as it
/// is.
template <auto Slot> void *wrapped(void *address)
{
    static void *const first = [address] {
        *Slot = reinterpret_cast<std::remove_pointer_t<decltype(Slot)>>(address);
        EntryPointTap<Slot, Watcher>::install();
        return address;
    }();
    return address == first ? reinterpret_cast<void *>(*Slot) : address;
}

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

void *checked(const char *name, void *address)
{
    if (address == nullptr || name == nullptr) {
        return address;
    }
#define ZELCHECK_WRAP(slot, Function)                                                                        \
    if (std::strcmp(name, #slot) == 0) {                                                                     \
        return wrapped<&Outside::slot>(address);                                                             \
    }
    ZELCHECK_OUTSIDE_ENTRY_POINTS(ZELCHECK_WRAP)
#undef ZELCHECK_WRAP
    return address;
}

void install(const Check::Options &options)
{
    draws().readsIndices = options.readIndices;
    repeats().isOn = options.countRedundant;
    Labels::switchOn(options.labels);
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
    objects().clear();
    Labels::switchOn(false);
    repeats() = Repeats();
    pendingError = GL_NO_ERROR;
    forgetReports();
}

bool isInstalled()
{
    return installed;
}

} // namespace Watch

}} // namespace Orvane::ZelCheck
