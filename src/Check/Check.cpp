#include "Check.h"

#include "private/Labels.h"
#include "private/Repeats.h"
#include "private/Reports.h"
#include "private/Watch.h"

#include <ZelGL/GLUtilities.h>

#include <QtCore/QByteArray>

#include <dlfcn.h>

namespace Orvane { namespace ZelCheck {

namespace {

// The mangled name of the library's bool initializeGLFunctions().
constexpr char kInitialize[] = "_Z21initializeGLFunctionsv";

bool wanted = false; ///< start() came before initializeGLFunctions()
Check::Options options;

/// Whether hosts call the initializeGLFunctions() of this library. If not, because ZelGL comes first in the order of the
/// libraries, the entry points of extensions stay null: nothing would clear those that the driver lacks.
bool isFirst()
{
    return dlsym(RTLD_DEFAULT, kInitialize) == reinterpret_cast<void *>(&initializeGLFunctions);
}

/// Prepares the empty table when the library is loaded.
struct Loaded
{
    Loaded()
    {
        if (!Watch::isTableSet()) {
            Watch::fillEmpty(isFirst());
        }
        const QByteArray wish = qgetenv("ZELGL_CHECK");
        if (!wish.isEmpty() && wish != "0") {
            const QList<QByteArray> words = wish.split(',');
            options.readIndices = words.contains("2") || words.contains("indices");
            options.countRedundant = words.contains("redundant");
            options.labels = words.contains("labels");
            Check::start(options);
        }
    }

    /// libZelGL deletes its shared quad later, when Qt no longer knows which context is current.
    ~Loaded() { Check::stop(); }
};

const Loaded loaded;

} // namespace

void Check::start(const Options &chosen)
{
    options = chosen;
    wanted = true;
    if (Watch::isTableSet()) {
        Watch::install(options);
    }
}

void Check::stop()
{
    wanted = false;
    if (Watch::isInstalled()) {
        const Inside inside;
        Watch::remove();
    }
}

bool Check::isRunning()
{
    return Watch::isInstalled();
}

void Check::endFrame()
{
    if (Watch::isInstalled()) {
        const Inside inside;
        checkFrameEnd();
    }
}

QStringList Check::takeRedundantCalls()
{
    const Inside inside;
    return repeats().take();
}

void Check::setLabel(unsigned int identifier, unsigned int name, const QString &text)
{
    const std::optional<Kind> kind = kindOf(identifier);
    if (Watch::isInstalled() && kind.has_value()) {
        const Inside inside;
        objects().known(*kind, name).label = text;
        Labels::rename(*kind, name);
    }
}

void Check::forgetReports()
{
    const Inside inside;
    ZelCheck::forgetReports();
}

Scope::Scope(const Check::Options &chosen)
    : _started(!wanted)
{
    if (_started) {
        Check::start(chosen);
    }
}

Scope::~Scope()
{
    if (_started) {
        Check::stop();
    }
}

}} // namespace Orvane::ZelCheck

/// Replaces the function of ZelGL, and calls it: the table is set here, and the wrappers must follow.
ZELCHECK_EXPORT bool initializeGLFunctions()
{
    using namespace Orvane::ZelCheck;
    static const auto initialize = reinterpret_cast<bool (*)()>(dlsym(RTLD_NEXT, kInitialize));
    if (initialize == nullptr) {
        return false;
    }
    if (Watch::isInstalled()) {
        return initialize(); // the table is set, and is not set again
    }
    Watch::clearEmpty();
    const bool isSet = initialize();
    if (!isSet) {
        Watch::fillEmpty(isFirst());
    } else if (wanted) {
        Watch::install(options);
    }
    return isSet;
}
