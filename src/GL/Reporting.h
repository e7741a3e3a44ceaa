#pragma once

/// \file
/// The messages of the library. All of them go to Qt's message logger: category "default", levels debug, warning and
/// critical. None of them stops the process.
///
/// - ZEL_LOG_DEBUG, ZEL_LOG_WARNING, ZEL_LOG_CRITICAL(format, ...): "[file:line] text".
/// - ZEL_ASSERT(condition, format, ...): if the condition is false, logs
///   "[ !! ] Assertion 'condition' failed: text" at critical level and continues.
/// - ZEL_ASSERT_RETURN(condition, failureValue, format, ...): does the same and then returns the failure value. In a
///   function that returns void the value is left empty.
/// - ZEL_BARE_DEBUG, ZEL_BARE_WARNING, ZEL_BARE_CRITICAL(format, ...): "text", without file and line.
///
/// Formats are those of QString::asprintf(). The arguments are evaluated only if the message is logged. All macros are
/// active in every build.
///
/// \snippet frame.cpp Reporting

#include "Export.h"

#include <QtCore/QtGlobal>

namespace Orvane { namespace Zel { namespace Reporting {

/// The part of a __FILE__ after its last slash.
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

/// Implements ZEL_LOG_*: logs "[file:line] text" at the given level.
ZELGL_EXPORT void log(QtMsgType level, const char *file, int line, const char *format, ...)
    Q_ATTRIBUTE_FORMAT_PRINTF(4, 5);

/// Implements ZEL_BARE_*: logs only the text at the given level.
ZELGL_EXPORT void logBare(QtMsgType level, const char *format, ...) Q_ATTRIBUTE_FORMAT_PRINTF(2, 3);

/// Implements ZEL_ASSERT*: logs the source text of the condition and the message at critical level.
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
