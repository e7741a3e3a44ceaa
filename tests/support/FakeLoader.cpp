#include "FakeLoader.h"

#include <QtCore/QHash>

#include <dlfcn.h>

struct FakeLoader::State
{
    QHash<QString, Function> answers; ///< null for hidden names
    bool allHidden = false;
    bool contextFaked = false;
    void *context = nullptr;
    QStringList lookUps;
};

/// The way from the interposed functions, which have C names, to the living loader.
struct FakeLoaderGate
{
    static inline FakeLoader::State *state = nullptr;

    /// The real function of the same name, in the library behind this program.
    template <typename Type> static Type real(const char *name)
    {
        return reinterpret_cast<Type>(dlsym(RTLD_NEXT, name));
    }

    static FakeLoader::Function lookUp(const char *by, const unsigned char *name)
    {
        const auto real = FakeLoaderGate::real<FakeLoader::Function (*)(const unsigned char *)>(by);
        if (state == nullptr) {
            return real(name);
        }
        const QString key = QString::fromLatin1(reinterpret_cast<const char *>(name));
        state->lookUps += QString("%1 %2").arg(by, key);
        if (state->allHidden) {
            return nullptr;
        }
        const auto answer = state->answers.constFind(key);
        return answer != state->answers.constEnd() ? *answer : real(name);
    }

    static void *currentContext()
    {
        if (state != nullptr && state->contextFaked) {
            return state->context;
        }
        return real<void *(*)()>("glXGetCurrentContext")();
    }
};

// GLX's own prototypes, without its header: these must carry the names, and nothing else of it is needed.
extern "C" {

__attribute__((visibility("default"))) FakeLoader::Function glXGetProcAddress(const unsigned char *name)
{
    return FakeLoaderGate::lookUp("glXGetProcAddress", name);
}

__attribute__((visibility("default"))) FakeLoader::Function glXGetProcAddressARB(const unsigned char *name)
{
    return FakeLoaderGate::lookUp("glXGetProcAddressARB", name);
}

__attribute__((visibility("default"))) void *glXGetCurrentContext()
{
    return FakeLoaderGate::currentContext();
}
}

FakeLoader::FakeLoader()
    : _state(new State)
{
    FakeLoaderGate::state = _state;
}

FakeLoader::~FakeLoader()
{
    FakeLoaderGate::state = nullptr;
    delete _state;
}

void FakeLoader::hide(const QString &name)
{
    _state->answers.insert(name, nullptr);
}

void FakeLoader::hideAll()
{
    _state->allHidden = true;
}

void FakeLoader::provide(const QString &name, Function function)
{
    _state->answers.insert(name, function);
}

void FakeLoader::setCurrentContext(void *context)
{
    _state->contextFaked = true;
    _state->context = context;
}

QStringList FakeLoader::takeLookUps()
{
    QStringList taken;
    taken.swap(_state->lookUps);
    return taken;
}
