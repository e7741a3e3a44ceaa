#include "HeldMessages.h"

#include <QtCore/QMessageLogContext>
#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>

#include <algorithm>
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
        // Never null: for a host without a handler, Qt returns its own.
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
        const QMessageLogContext context(message.file.constData(), message.line, message.function.constData(),
                                         message.category.constData());
        if (_outer != nullptr) {
            handle(message.level, context, message.text);
        } else if (const QtMessageHandler handler = hostHandler) {
            handler(message.level, context, message.text);
        }
    }
    _messages.clear();
}

QStringList HeldMessages::takeWarnings(const QStringList &starts)
{
    QStringList texts;
    const auto first = std::find_if(_messages.begin(), _messages.end(),
                                    [&](const Message &message) { return starts.contains(message.text); });
    const auto isWarning = [&](const Message &message) {
        if (message.level == QtWarningMsg) {
            texts.append(message.text);
        }
        return message.level == QtWarningMsg;
    };
    _messages.erase(std::remove_if(first, _messages.end(), isWarning), _messages.end());
    release();
    return texts;
}

void HeldMessages::handle(QtMsgType level, const QMessageLogContext &context, const QString &text)
{
    if (current != nullptr && level != QtFatalMsg) {
        current->_messages.append(
            {level, text, context.file, context.function, context.category, context.line});
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
