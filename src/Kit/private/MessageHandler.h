#pragma once

#include <QtCore/QMutex>
#include <QtCore/QString>
#include <QtCore/QtGlobal>

namespace Orvane { namespace ZelKit {

/// A stack of handlers of Qt's messages; the newest handles them.
///
/// Context: any thread. Delete in reverse order, while no other thread logs.
/// Errors:  none.
/// Private to the library; MessageLog and MessageCollector derive from it.
class MessageHandler
{
    Q_DISABLE_COPY(MessageHandler)

public:
    MessageHandler();
    virtual ~MessageHandler();

    virtual void handle(QtMsgType level, const QMessageLogContext &context, const QString &text) = 0;

protected:
    /// Passes a message to the handler before this one.
    void forward(QtMsgType level, const QMessageLogContext &context, const QString &text);

    mutable QMutex _mutex; ///< for the state of a handler

private:
    static void enter(QtMsgType level, const QMessageLogContext &context, const QString &text);

    MessageHandler *_outer;
    QtMessageHandler _previous; ///< of Qt, if there is no outer one
};

}} // namespace Orvane::ZelKit
