#include "MessageCapture.h"

#include <QtCore/QMutexLocker>
#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>

#include <cstdio>

namespace {

constexpr const char *kLevels[] = {"debug", "warning", "critical", "fatal", "info"}; ///< by QtMsgType

std::string lines(const QStringList &messages)
{
    return messages.isEmpty() ? "  (none)\n" : "  " + messages.join("\n  ").toStdString() + "\n";
}

} // namespace

QString Message::toString() const
{
    static const QRegularExpression kLine("^\\[([\\w.]+):\\d+\\]");
    QString words = kLevels[level];
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
    const QByteArray line = context.line > 0 ? QByteArray::number(context.line) : QByteArray();
    _current->_messages.append(
        {level, text, context.category, QByteArray(context.file) + context.function + line});
    if (level == QtFatalMsg) { // Qt aborts when this function returns, so print all messages now
        for (const Message &message : qAsConst(_current->_messages)) {
            std::fprintf(stderr, "%s\n", qPrintable(message.toString()));
        }
    }
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
        const QString &text = same ? actual.at(wanted.size()) : QString();
        same = same && (message.isPrefix ? text.startsWith(message.text) : text == message.text);
        wanted += message.text + (message.isPrefix ? "..." : "");
    }
    if (same) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "Expected messages:\n"
                                       << lines(wanted) << "Actual messages:\n"
                                       << lines(actual);
}

testing::AssertionResult AssertionsOf::refused(const std::vector<Refusal> &calls) const
{
    std::vector<ExpectedMessage> messages;
    for (const Refusal &call : calls) {
        if (call.answer) {
            return testing::AssertionFailure() << "The call was not refused: " << call.condition;
        }
        messages.emplace_back((*this)(call.condition, call.text));
    }
    return takeMessages(messages);
}

testing::AssertionResult AssertionsOf::reported(const QString &lines) const
{
    std::vector<ExpectedMessage> expected;
    for (const QString &line : lines.trimmed().split('\n')) {
        expected.emplace_back((*this)(line.section(": ", 0, 0), line.section(": ", 1)));
    }
    return takeMessages(expected);
}

MessageTest::~MessageTest()
{
    // Not in TearDown(): the destructors of the members of derived fixtures may log, too.
    EXPECT_MESSAGES() << "The test ended with messages that it did not take.";
}
