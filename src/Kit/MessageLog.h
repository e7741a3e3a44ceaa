#pragma once

#include "KitExport.h"

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QtGlobal>

#include <functional>
#include <memory>

namespace Orvane { namespace ZelKit {

/// Prints the messages of Qt and of the libraries on stderr while it exists: from a level, in the colour of the level, one line
/// each.
///
/// \snippet kit.cpp MessageLog
///
/// - Units: levels from debug and info to warning, critical and fatal.
/// - Context: none. Messages may come from any thread; create and delete while no other thread logs.
/// - Errors: none. Logs nest: delete them in reverse order. Each restores the handler before it.
class ZELKIT_EXPORT MessageLog
{
    Q_DISABLE_COPY(MessageLog)

public:
    /// eOnTerminals: if stderr is a terminal, and the environment does not set NO_COLOR.
    enum Colors { eOnTerminals, eAlways, eNever };

    struct Options
    {
        QString prefix;                 ///< of each line, such as "host: "
        QtMsgType level = QtWarningMsg; ///< the lowest that is printed
        Colors colors = eOnTerminals;
    };

    explicit MessageLog(const Options &options);
    MessageLog()
        : MessageLog(Options())
    {
    }
    ~MessageLog();

    void setLevel(QtMsgType level);

    /// Messages of this level and above since the start, printed or not.
    int count(QtMsgType level) const;

    /// Called with a fatal message, before Qt aborts the process; may end it. Replaces the line of the message.
    void onFatal(std::function<void(const QString &)> function);

private:
    class ZELKIT_NO_EXPORT Handler;
    std::unique_ptr<Handler> _handler;
};

/// Collects messages of info and above instead of printing them, while it exists. Debug and fatal messages go to the handler
/// before it.
///
/// \snippet kit.cpp MessageCollector
///
/// - Units: none.
/// - Context: as MessageLog, with which it nests.
/// - Errors: none.
class ZELKIT_EXPORT MessageCollector
{
    Q_DISABLE_COPY(MessageCollector)

public:
    MessageCollector();
    ~MessageCollector();

    /// The messages so far, without source file and line.
    QStringList messages() const;

private:
    class ZELKIT_NO_EXPORT Handler;
    std::unique_ptr<Handler> _handler;
};

}} // namespace Orvane::ZelKit
