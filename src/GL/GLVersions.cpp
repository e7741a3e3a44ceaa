#include "GLVersions.h"

namespace Orvane { namespace Zel {

QString GLVersions::getVersion()
{
    return QStringLiteral("1.0.0");
}

QString GLVersions::getGitHash()
{
    return QString();
}

QString GLVersions::getMd5Sum()
{
    return QStringLiteral("1");
}

}} // namespace Orvane::Zel
