#include "MessageCapture.h"

#include <QtCore/QMutexLocker>
#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>

#include <cstdio>

namespace {

const char *levelWord(QtMsgType level)
{
    switch (level) {
    case QtDebugMsg:
        return "debug";
    case QtInfoMsg:
        return "info";
    case QtWarningMsg:
        return "warning";
    case QtCriticalMsg:
        return "critical";
    case QtFatalMsg:
        return "fatal";
    }
    return "?";
}

QString lines(const QStringList &messages)
{
    return messages.isEmpty() ? QStringLiteral("  (none)\n") : "  " + messages.join("\n  ") + "\n";
}

} // namespace

QString Message::toString() const
{
    static const QRegularExpression kLine("^\\[([\\w.]+):\\d+\\]");
    QString words = levelWord(level);
    if (category != "default") {
        words += "(" + QString::fromUtf8(category) + ")";
    }
    return words + " " + QString(text).replace(kLine, "[\\1:#]");
}

MessageCapture *MessageCapture::_current = nullptr;

MessageCapture::MessageCapture()
    : _outer(_current)
    , _outerHandler(qInstallMessageHandler(&MessageCapture::handle))
{
    _current = this;
}

MessageCapture::~MessageCapture()
{
    _current = _outer;
    qInstallMessageHandler(_outerHandler);
}

QVector<Message> MessageCapture::take()
{
    QMutexLocker lock(&_mutex);
    QVector<Message> taken;
    taken.swap(_messages);
    return taken;
}

QStringList MessageCapture::takeTexts(QtMsgType least)
{
    QStringList texts;
    for (const Message &message : take()) {
        if (least == QtDebugMsg || message.level != QtDebugMsg) {
            texts += message.toString();
        }
    }
    return texts;
}

MessageCapture *MessageCapture::current()
{
    return _current;
}

void MessageCapture::handle(QtMsgType level, const QMessageLogContext &context, const QString &text)
{
    QMutexLocker lock(&_current->_mutex);
    _current->_messages.append({level, text, context.category, context.file, context.function, context.line});
    if (level == QtFatalMsg) { // Qt aborts when this returns: nobody would see what led to it
        for (const Message &message : qAsConst(_current->_messages)) {
            std::fprintf(stderr, "%s\n", qPrintable(message.toString()));
        }
    }
}

ExpectedMessage::ExpectedMessage(const char *whole)
    : ExpectedMessage(QString::fromUtf8(whole), false)
{
}

ExpectedMessage::ExpectedMessage(const QString &whole)
    : ExpectedMessage(whole, false)
{
}

ExpectedMessage::ExpectedMessage(const QString &text, bool prefix)
    : _text(text)
    , _prefix(prefix)
{
}

ExpectedMessage ExpectedMessage::startingWith(const QString &prefix)
{
    return ExpectedMessage(prefix, true);
}

bool ExpectedMessage::matches(const QString &actual) const
{
    return _prefix ? actual.startsWith(_text) : actual == _text;
}

QString ExpectedMessage::toString() const
{
    return _prefix ? _text + "..." : _text;
}

std::vector<ExpectedMessage> warningLines(const QString &text)
{
    std::vector<ExpectedMessage> expected;
    for (const QString &line : text.split('\n')) {
        expected.emplace_back("warning " + line);
    }
    return expected;
}

testing::AssertionResult takeMessages(const std::vector<ExpectedMessage> &expected)
{
    if (MessageCapture::current() == nullptr) {
        return testing::AssertionFailure() << "No message capture is in place";
    }
    const QStringList actual = MessageCapture::current()->takeTexts();
    bool same = actual.size() == int(expected.size());
    QStringList wanted;
    for (const ExpectedMessage &message : expected) {
        same = same && message.matches(actual.at(wanted.size()));
        wanted += message.toString();
    }
    if (same) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "Expected messages:\n"
                                       << qPrintable(lines(wanted)) << "Actual messages:\n"
                                       << qPrintable(lines(actual));
}

MessageTest::~MessageTest()
{
    // Here, and not in TearDown(): the members of derived fixtures are gone by now and have said what they
    // had to say.
    EXPECT_MESSAGES() << "The test ended with messages that it did not take.";
}
