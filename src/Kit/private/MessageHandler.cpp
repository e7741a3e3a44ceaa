#include "MessageHandler.h"

#include <atomic>

namespace Orvane { namespace ZelKit {

namespace {

std::atomic<MessageHandler *> gTop{nullptr};

} // namespace

MessageHandler::MessageHandler()
    : _outer(gTop.exchange(this))
    , _previous(qInstallMessageHandler(&MessageHandler::enter))
{
}

MessageHandler::~MessageHandler()
{
    gTop = _outer;
    qInstallMessageHandler(_previous);
}

void MessageHandler::forward(QtMsgType level, const QMessageLogContext &context, const QString &text)
{
    if (_previous != &MessageHandler::enter) {
        if (_previous != nullptr) {
            _previous(level, context, text);
        }
    } else if (_outer != nullptr) {
        _outer->handle(level, context, text);
    }
}

void MessageHandler::enter(QtMsgType level, const QMessageLogContext &context, const QString &text)
{
    if (MessageHandler *top = gTop) {
        top->handle(level, context, text);
    }
}

}} // namespace Orvane::ZelKit
