#pragma once

/// \file
/// The one way in which the library reports anything: Qt's message logger, category "default", levels debug,
/// warning and critical. Nothing here stops the process.
///
/// - ZEL_LOG_DEBUG, ZEL_LOG_WARNING, ZEL_LOG_CRITICAL(format, ...): "[file:line] text".
/// - ZEL_ASSERT(condition, format, ...): when the condition is false, logs
///   "[ !! ] Assertion 'condition' failed: text" at critical level, and goes on.
/// - ZEL_ASSERT_RETURN(condition, failureValue, format, ...): the same, and leaves the function with the failure
///   value; the value is left empty in a function that returns nothing.
/// - ZEL_BARE_DEBUG, ZEL_BARE_WARNING, ZEL_BARE_CRITICAL(format, ...): the text alone, without file and line.
///
/// Formats are printf-style, as QString::asprintf reads them. The message is evaluated only when it fires.
/// All forms are live in every build.
///
/// \snippet frame.cpp Reporting

#include "Export.h"

#include <QtCore/QtGlobal>

namespace Orvane { namespace Zel { namespace Reporting {

/// The part of a __FILE__ behind its last slash.
constexpr const char *baseName(const char *path)
{
    const char *name = path;
    for (; *path != '\0'; ++path) {
        if (*path == '/') {
            name = path + 1;
        }
    }
    return name;
}

/// The text behind ZEL_LOG_*: "[file:line] text" at the given level.
ZELGL_EXPORT void log(QtMsgType level, const char *file, int line, const char *format, ...)
    Q_ATTRIBUTE_FORMAT_PRINTF(4, 5);

/// The text behind ZEL_BARE_*: the text alone at the given level.
ZELGL_EXPORT void logBare(QtMsgType level, const char *format, ...) Q_ATTRIBUTE_FORMAT_PRINTF(2, 3);

/// The text behind ZEL_ASSERT*: the condition's own source text and the message, at critical level.
ZELGL_EXPORT void assertionFailed(const char *file, int line, const char *condition, const char *format, ...)
    Q_ATTRIBUTE_FORMAT_PRINTF(4, 5);

}}} // namespace Orvane::Zel::Reporting

#define ZEL_REPORT_AT_(level, ...)                                                                           \
    ::Orvane::Zel::Reporting::log(level, ::Orvane::Zel::Reporting::baseName(__FILE__), __LINE__, __VA_ARGS__)

#define ZEL_LOG_DEBUG(...) ZEL_REPORT_AT_(QtDebugMsg, __VA_ARGS__)
#define ZEL_LOG_WARNING(...) ZEL_REPORT_AT_(QtWarningMsg, __VA_ARGS__)
#define ZEL_LOG_CRITICAL(...) ZEL_REPORT_AT_(QtCriticalMsg, __VA_ARGS__)

#define ZEL_BARE_DEBUG(...) ::Orvane::Zel::Reporting::logBare(QtDebugMsg, __VA_ARGS__)
#define ZEL_BARE_WARNING(...) ::Orvane::Zel::Reporting::logBare(QtWarningMsg, __VA_ARGS__)
#define ZEL_BARE_CRITICAL(...) ::Orvane::Zel::Reporting::logBare(QtCriticalMsg, __VA_ARGS__)

#define ZEL_ASSERT(condition, ...)                                                                           \
    do {                                                                                                     \
        if (Q_UNLIKELY(!(condition))) {                                                                      \
            ::Orvane::Zel::Reporting::assertionFailed(::Orvane::Zel::Reporting::baseName(__FILE__),          \
                                                      __LINE__, #condition, __VA_ARGS__);                    \
        }                                                                                                    \
    } while (false)

#define ZEL_ASSERT_RETURN(condition, failureValue, ...)                                                      \
    do {                                                                                                     \
        if (Q_UNLIKELY(!(condition))) {                                                                      \
            ::Orvane::Zel::Reporting::assertionFailed(::Orvane::Zel::Reporting::baseName(__FILE__),          \
                                                      __LINE__, #condition, __VA_ARGS__);                    \
            return failureValue;                                                                             \
        }                                                                                                    \
    } while (false)
