#pragma once

#include <QtCore/QString>

namespace zeltools {

/// A number with its noun: "1 mesh", "2 meshes".
inline QString counted(qint64 count, const char *one, const char *many)
{
    return QStringLiteral("%1 %2").arg(count).arg(QLatin1String(count == 1 ? one : many));
}

} // namespace zeltools
