#pragma once

#include "Export.h"

#include <QtCore/QString>

namespace Orvane { namespace Zel {

/// The version strings of the library.
///
/// \snippet frame.cpp GLVersions
class ZELGL_EXPORT GLVersions
{
public:
    static QString getVersion();
    static QString getGitHash(); ///< empty
    static QString getMd5Sum();
};

}} // namespace Orvane::Zel
