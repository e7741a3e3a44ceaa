#include "Check.h"

#include "private/Labels.h"
#include "private/Repeats.h"
#include "private/Reports.h"
#include "private/Watch.h"

#include <ZelGL/GLUtilities.h>

#include <QtCore/QByteArray>

#include <utility>

#include <dlfcn.h>

namespace Orvane { namespace ZelCheck {

namespace {

// The mangled name of the library's bool initializeGLFunctions().
constexpr char kInitialize[] = "_Z21initializeGLFunctionsv";

bool wanted = false; ///< start() came before initializeGLFunctions()
Check::Options options;
QStringList unknownWords; ///< of ZELGL_CHECK, until they are reported

/// Whether hosts call the initializeGLFunctions() of this library. If not, because ZelGL comes first in the order of the
/// libraries, the entry points of extensions stay null: nothing would clear those that the driver lacks.
bool isFirst()
{
    return dlsym(RTLD_DEFAULT, kInitialize) == reinterpret_cast<void *>(&initializeGLFunctions);
}

/// Starts the check, and reports unknown words of ZELGL_CHECK once: not when the library is loaded, since a host has no message
/// handler then, and LD_PRELOAD loads the library into programs without GL, too.
void install()
{
    Watch::install(options);
    if (!unknownWords.isEmpty()) {
        logLine(QStringLiteral("Unknown in ZELGL_CHECK: \"%1\". The words are 1, 2, indices, redundant "
                               "and labels, separated by commas; 0 alone switches the check off.")
                    .arg(std::exchange(unknownWords, QStringList()).join(QStringLiteral("\", \""))));
    }
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
            for (const QByteArray &part : wish.split(',')) {
                const QByteArray word = part.trimmed();
                if (word == "2" || word == "indices") {
                    options.readIndices = true;
                } else if (word == "redundant") {
                    options.countRedundant = true;
                } else if (word == "labels") {
                    options.labels = true;
                } else if (word != "1" && !word.isEmpty()) {
                    unknownWords += QString::fromLocal8Bit(word);
                }
            }
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
        install();
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
        install();
    }
    return isSet;
}
