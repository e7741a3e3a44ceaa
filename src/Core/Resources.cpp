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
    // The address of a private function, because that of an exported one may be in the program that calls it.
    if (dladdr(reinterpret_cast<void *>(&findResources), &library) == 0 || library.dli_fname == nullptr) {
        return QString();
    }
    // Canonical, because the library may have been loaded through a link in another tree.
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
