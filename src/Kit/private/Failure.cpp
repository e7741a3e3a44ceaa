#include "Failure.h"

#include <QtCore/QtGlobal>

namespace Orvane { namespace ZelKit {

void fail(QString *error, const QString &message)
{
    if (error) {
        *error = message;
    } else {
        qWarning("ZelKit: %s", qUtf8Printable(message));
    }
}

}} // namespace Orvane::ZelKit
