#include "MessageLog.h"

#include "private/MessageHandler.h"

#include <QtCore/QRegularExpression>

#include <array>
#include <cstdio>
#include <utility>

#include <unistd.h>

namespace Orvane { namespace ZelKit {

namespace {

constexpr int kLevels = 5;

/// QtInfoMsg was added to Qt later, and is the greatest number of the enumeration.
int severityOf(QtMsgType level)
{
    switch (level) {
    case QtDebugMsg:
        return 0;
    case QtInfoMsg:
        return 1;
    case QtWarningMsg:
        return 2;
    case QtCriticalMsg:
        return 3;
    case QtFatalMsg:
        break;
    }
    return kLevels - 1;
}

/// The escape sequences of terminals: grey, default, yellow, red, bold red.
const char *colorOf(QtMsgType level)
{
    static constexpr std::array<const char *, kLevels> kColors = {"\033[90m", "", "\033[33m", "\033[31m",
                                                                  "\033[1;31m"};
    return kColors.at(size_t(severityOf(level)));
}

bool usesColors(MessageLog::Colors colors)
{
    return colors == MessageLog::eAlways
           || (colors == MessageLog::eOnTerminals && isatty(STDERR_FILENO) != 0
               && qEnvironmentVariableIsEmpty("NO_COLOR"));
}

} // namespace

class MessageLog::Handler : public MessageHandler
{
public:
    explicit Handler(const Options &options)
        : _prefix(options.prefix)
        , _severity(severityOf(options.level))
        , _usesColors(usesColors(options.colors))
    {
    }

    void handle(QtMsgType level, const QMessageLogContext &, const QString &text) override
    {
        QMutexLocker locker(&_mutex);
        ++_counts.at(size_t(severityOf(level)));
        if (level == QtFatalMsg && _onFatal) {
            const std::function<void(const QString &)> onFatal = _onFatal;
            locker.unlock(); // it may log
            onFatal(text);
        } else if (severityOf(level) >= _severity) {
            print(level, text);
        }
    }

    void setLevel(QtMsgType level)
    {
        const QMutexLocker locker(&_mutex);
        _severity = severityOf(level);
    }

    void setOnFatal(std::function<void(const QString &)> function)
    {
        const QMutexLocker locker(&_mutex);
        _onFatal = std::move(function);
    }

    int count(QtMsgType level) const
    {
        const QMutexLocker locker(&_mutex);
        int sum = 0;
        for (int severity = severityOf(level); severity < kLevels; ++severity) {
            sum += _counts.at(size_t(severity));
        }
        return sum;
    }

private:
    void print(QtMsgType level, const QString &text) const
    {
        QByteArray line = (_prefix + text).toLocal8Bit();
        const char *color = _usesColors ? colorOf(level) : "";
        if (*color != '\0') {
            line = color + line + "\033[0m";
        }
        line += '\n';
        // At once, so that lines of several processes do not mix.
        std::fwrite(line.constData(), 1, size_t(line.size()), stderr);
        std::fflush(stderr);
    }

    QString _prefix;
    int _severity;
    bool _usesColors;
    std::array<int, kLevels> _counts = {}; ///< by severity
    std::function<void(const QString &)> _onFatal;
};

MessageLog::MessageLog(const Options &options)
    : _handler(std::make_unique<Handler>(options))
{
}

MessageLog::~MessageLog() = default;

void MessageLog::setLevel(QtMsgType level)
{
    _handler->setLevel(level);
}

int MessageLog::count(QtMsgType level) const
{
    return _handler->count(level);
}

void MessageLog::onFatal(std::function<void(const QString &)> function)
{
    _handler->setOnFatal(std::move(function));
}

class MessageCollector::Handler : public MessageHandler
{
public:
    void handle(QtMsgType level, const QMessageLogContext &context, const QString &text) override
    {
        if (level == QtDebugMsg || level == QtFatalMsg) {
            forward(level, context, text);
            return;
        }
        const QMutexLocker locker(&_mutex);
        _messages.append(text);
    }

    QStringList messages() const
    {
        static const QRegularExpression kPlace(QStringLiteral("^\\[[^\\]]*:\\d+\\] "));
        const QMutexLocker locker(&_mutex);
        QStringList messages = _messages;
        messages.replaceInStrings(kPlace, QString());
        return messages;
    }

private:
    QStringList _messages;
};

MessageCollector::MessageCollector()
    : _handler(std::make_unique<Handler>())
{
}

MessageCollector::~MessageCollector() = default;

QStringList MessageCollector::messages() const
{
    return _handler->messages();
}

}} // namespace Orvane::ZelKit
