#include "Resources.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <dlfcn.h>

namespace Orvane { namespace Zel {

namespace {

QString findResources()
{
    Dl_info library = {};
    // By a private function: the address of an exported one may lie in the program that uses it.
    if (dladdr(reinterpret_cast<void *>(&findResources), &library) == 0 || library.dli_fname == nullptr) {
        return QString();
    }
    // Canonical, since the library may have been reached by a link from another tree.
    const QString directory = QFileInfo(QFile::decodeName(library.dli_fname)).canonicalPath();
    return directory.isEmpty() ? QString() : QDir::cleanPath(directory + "/" ZELCORE_RESOURCES_FROM_LIBRARY);
}

} // namespace

QString resourcesPath()
{
    static const QString path = findResources();
    return path;
}

}} // namespace Orvane::Zel
