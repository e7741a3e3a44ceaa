#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QStringList>
#include <QtCore/QVector>
#include <QtCore/QtGlobal>

namespace Orvane { namespace ZelShaders {

/// While it exists, holds back the messages that this thread logs. Objects of one thread nest. The messages of other
/// threads go to the handler of the host.
class HeldMessages
{
    Q_DISABLE_COPY(HeldMessages)

public:
    HeldMessages();
    /// Drops the messages that are still held.
    ~HeldMessages();

    /// Passes the held messages to the host's handler.
    void release();
    /// Returns and drops the held warnings from the first one that is one of \a starts, and passes the other messages to the
    /// host's handler.
    QStringList takeWarnings(const QStringList &starts);

private:
    static void handle(QtMsgType level, const QMessageLogContext &context, const QString &text);
    void stop();

    struct Message
    {
        QtMsgType level;
        QString text;
        QByteArray file;
        QByteArray function;
        QByteArray category;
        int line;
    };

    QVector<Message> _messages;
    HeldMessages *_outer = nullptr;
    bool _isHolding = true;
};

}} // namespace Orvane::ZelShaders
