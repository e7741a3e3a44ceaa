#include "HeldMessages.h"

#include <QtCore/QMessageLogContext>
#include <QtCore/QMessageLogger>
#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>

#include <atomic>

namespace Orvane { namespace ZelShaders {

namespace {

thread_local HeldMessages *current = nullptr;

// The handler of Qt belongs to the process: the first object of any thread installs it, the last one restores the host's.
QMutex handlerMutex;
int holders = 0;
std::atomic<QtMessageHandler> hostHandler{nullptr};

} // namespace

HeldMessages::HeldMessages()
    : _outer(current)
{
    current = this;
    const QMutexLocker locker(&handlerMutex);
    if (++holders == 1) {
        // Null is never the answer: Qt returns its own handler for none.
        hostHandler = qInstallMessageHandler(handle);
    }
}

HeldMessages::~HeldMessages()
{
    stop();
}

void HeldMessages::release()
{
    stop();
    for (const Message &message : qAsConst(_messages)) {
        const QMessageLogger logger(nullptr, 0, nullptr);
        const QByteArray text = message.text.toUtf8();
        switch (message.level) {
        case QtWarningMsg:
            logger.warning("%s", text.constData());
            break;
        case QtDebugMsg:
            logger.debug("%s", text.constData());
            break;
        case QtInfoMsg:
            logger.info("%s", text.constData());
            break;
        default:
            logger.critical("%s", text.constData());
            break;
        }
    }
    _messages.clear();
}

QStringList HeldMessages::take()
{
    stop();
    QStringList texts;
    for (const Message &message : qAsConst(_messages)) {
        texts.append(message.text);
    }
    _messages.clear();
    return texts;
}

void HeldMessages::handle(QtMsgType level, const QMessageLogContext &context, const QString &text)
{
    if (current != nullptr && level != QtFatalMsg) {
        current->_messages.append({level, text});
        return;
    }
    if (const QtMessageHandler handler = hostHandler) {
        handler(level, context, text);
    }
}

void HeldMessages::stop()
{
    if (!_isHolding) {
        return;
    }
    _isHolding = false;
    current = _outer;
    const QMutexLocker locker(&handlerMutex);
    if (--holders == 0) {
        const QtMessageHandler installed = qInstallMessageHandler(hostHandler);
        if (installed != handle) { // the host has installed another one meanwhile
            qInstallMessageHandler(installed);
        }
    }
}

}} // namespace Orvane::ZelShaders
