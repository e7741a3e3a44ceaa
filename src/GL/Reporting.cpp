#include "Reporting.h"

#include "private/ContextHold.h"

#include <QtCore/QByteArray>
#include <QtCore/QMessageLogger>
#include <QtCore/QString>

#include <cstdarg>

namespace Orvane { namespace Zel { namespace Reporting {

namespace {

/// QMessageLogger decodes its text as UTF-8 in every locale.
void emitText(QtMsgType level, const QByteArray &text)
{
    const ContextHold::Pause pause;                   // the message handler is the host's
    const QMessageLogger logger(nullptr, 0, nullptr); // this constructor selects the category "default"
    switch (level) {
    case QtWarningMsg:
        logger.warning("%s", text.constData());
        break;
    case QtCriticalMsg:
        logger.critical("%s", text.constData());
        break;
    default:
        logger.debug("%s", text.constData());
        break;
    }
}

void emitAt(QtMsgType level, const char *file, int line, const QString &text)
{
    emitText(level, QByteArray("[") + file + ':' + QByteArray::number(line) + "] " + text.toLocal8Bit());
}

} // namespace

void log(QtMsgType level, const char *file, int line, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const QString text = QString::vasprintf(format, arguments);
    va_end(arguments);
    emitAt(level, file, line, text);
}

void logBare(QtMsgType level, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const QString text = QString::vasprintf(format, arguments);
    va_end(arguments);
    emitText(level, text.toUtf8());
}

void assertionFailed(const char *file, int line, const char *condition, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const QString message = QString::vasprintf(format, arguments);
    va_end(arguments);
    // Required: "%" in the condition becomes "\%"; see
    // ReportingTest.AnAssertionQuotesItsConditionAndLeavesTheFunctionOnlyIfItIsChecked.
    const QString conditionText =
        QString::fromUtf8(condition).replace(QLatin1Char('%'), QLatin1String("\\%"));
    emitAt(QtCriticalMsg, file, line,
           QString::asprintf("[ !! ] Assertion '%s' failed: %s", conditionText.toLocal8Bit().constData(),
                             message.toLocal8Bit().constData()));
}

}}} // namespace Orvane::Zel::Reporting
