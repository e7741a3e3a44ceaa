#pragma once

#include "Print.h"

#include <gtest/gtest.h>

#include <QtCore/QByteArray>
#include <QtCore/QMessageLogContext>
#include <QtCore/QMutex>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <vector>

/// One message to Qt's message handler.
struct Message
{
    QtMsgType level;
    QString text;
    QByteArray category;
    QByteArray place; ///< file, function and line; empty for messages of the library

    /// The form that tests compare: the level, then the text, in which a '#' replaces the line number of a leading
    /// "[file:line]". A category other than "default" follows the level in parentheses.
    QString toString() const;
};

/// While it exists, captures all Qt messages. Captures nest; the innermost one receives the messages.
class MessageCapture
{
    Q_DISABLE_COPY(MessageCapture)

public:
    MessageCapture();
    ~MessageCapture();

    /// Returns and removes the captured messages, in order.
    QVector<Message> take();

    /// The same in the form that tests compare; returns only messages of at least this level.
    QStringList takeTexts(QtMsgType least = QtDebugMsg);

    /// The innermost capture; null if there is none.
    static MessageCapture *current();

private:
    static void handle(QtMsgType level, const QMessageLogContext &context, const QString &text);

    static MessageCapture *_current;

    MessageCapture *_outer;
    QtMessageHandler _outerHandler;
    QMutex _mutex; // threads of the driver may log too
    QVector<Message> _messages;
};

/// An expected message: the whole text, or its start if text of the driver follows.
struct ExpectedMessage
{
    ExpectedMessage(const char *whole)
        : ExpectedMessage(QString::fromUtf8(whole))
    {
    }
    ExpectedMessage(const QString &whole, bool prefix = false)
        : text(whole)
        , isPrefix(prefix)
    {
    }

    QString text;
    bool isPrefix = false;
};

inline ExpectedMessage startsWith(const QString &prefix)
{
    return ExpectedMessage(prefix, true);
}

/// A warning for each line of a text.
std::vector<ExpectedMessage> warningLines(const QString &text);

/// The critical messages of the assertions in one source file: `const AssertionsOf asserted("Shader.cpp");`, and then
/// `EXPECT_MESSAGES(asserted("the condition", "the text"))`.
class AssertionsOf
{
public:
    explicit AssertionsOf(const char *file)
        : _file(file)
    {
    }

    QString operator()(const QString &condition, const QString &text) const
    {
        return QString("critical [%1:#] [ !! ] Assertion '%2' failed: %3").arg(_file, condition, text);
    }

    /// The result of a call that should be refused, and the assertion that it should log.
    struct Refusal
    {
        bool answer;
        const char *condition;
        QString text;
    };

    /// Takes the messages of calls, all of which must return false: `EXPECT_TRUE(asserted.refused({{buffer.bind(),
    /// "the condition", "the text"}, ...}))`.
    testing::AssertionResult refused(const std::vector<Refusal> &calls) const;

    /// Takes the messages of assertions, one line each: "condition: text".
    testing::AssertionResult reported(const QString &lines) const;

private:
    QString _file;
};

/// Takes the messages of the innermost capture, and compares number, order and text.
testing::AssertionResult takeMessages(const std::vector<ExpectedMessage> &expected);

/// EXPECT_MESSAGES("warning [Shader.cpp:#] ...", startsWith("debug ...")) takes exactly these messages.
/// Without arguments it expects no messages.
#define EXPECT_MESSAGES(...)                                                                                 \
    if (const testing::AssertionResult messagesTaken_ = takeMessages({__VA_ARGS__})) {                       \
    } else                                                                                                   \
        ADD_FAILURE() << messagesTaken_.message()

/// A fixture that captures the messages of a test, and fails on any that the test did not take.
class MessageTest : public testing::Test
{
protected:
    ~MessageTest() override;

    MessageCapture _capture;
};
