#pragma once

#include <QtCore/QString>

namespace Orvane { namespace ZelKit {

/// Hands a message to the caller's \a error, or logs it as a warning if that is null.
void fail(QString *error, const QString &message);

}} // namespace Orvane::ZelKit
