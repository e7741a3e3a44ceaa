#include "FakeLoader.h"

#include <dlfcn.h>

FakeLoader::Function FakeLoader::lookUp(const char *by, const unsigned char *name)
{
    // The real function of the same name, in the next library in the search order.
    const auto real = reinterpret_cast<Function (*)(const unsigned char *)>(dlsym(RTLD_NEXT, by));
    if (_living == nullptr) {
        return real(name);
    }
    const QString key = QString::fromLatin1(reinterpret_cast<const char *>(name));
    _living->_lookUps += QString("%1 %2").arg(by, key);
    const auto answer = _living->_answers.constFind(key);
    return answer != _living->_answers.constEnd() ? *answer : real(name);
}

// The functions of GLX that this program overrides. Its header is not included: nothing else of it is needed.
extern "C" {

__attribute__((visibility("default"))) FakeLoader::Function glXGetProcAddress(const unsigned char *name)
{
    return FakeLoader::lookUp("glXGetProcAddress", name);
}

__attribute__((visibility("default"))) FakeLoader::Function glXGetProcAddressARB(const unsigned char *name)
{
    return FakeLoader::lookUp("glXGetProcAddressARB", name);
}
}
