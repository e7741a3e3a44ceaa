#include "file/CommandLine.h"

#include <algorithm>

namespace zeltools {

CommandLine::CommandLine(const char *program, const char *description)
    : _program(QLatin1String(program))
{
    _parser.setApplicationDescription(QLatin1String(description));
}

void CommandLine::describeFile(const char *help)
{
    _parser.addPositionalArgument(QStringLiteral("FILE"), QLatin1String(help), QStringLiteral("FILE"));
}

void CommandLine::addFlag(const char *name, const QString &help, bool &target)
{
    add(name, "", help, [&target](const QString &) {
        target = true;
        return Failure();
    });
}

void CommandLine::addNumber(const char *name, const char *value, const QString &help, int &target, int low,
                            int high)
{
    add(name, value, help, [=, &target](const QString &text) {
        bool isNumber = false;
        const int number = text.toInt(&isNumber);
        if (!isNumber || number < low || number > high) {
            return Failure(problem(QStringLiteral("--%1 takes a number from %2 to %3, not '%4'")
                                       .arg(QLatin1String(name))
                                       .arg(low)
                                       .arg(high)
                                       .arg(text)));
        }
        target = number;
        return Failure();
    });
}

void CommandLine::addReal(const char *name, const char *value, const QString &help, float &target, float low,
                          float high)
{
    add(name, value, help, [=, &target](const QString &text) {
        bool isNumber = false;
        const float number = text.toFloat(&isNumber);
        // The comparison is false for NaN.
        if (!isNumber || !(number >= low && number <= high)) {
            return Failure(problem(QStringLiteral("--%1 takes a number from %2 to %3, not '%4'")
                                       .arg(QLatin1String(name))
                                       .arg(double(low))
                                       .arg(double(high))
                                       .arg(text)));
        }
        target = number;
        return Failure();
    });
}

void CommandLine::addText(const char *name, const char *value, const QString &help, QString &target,
                          const char *what)
{
    add(name, value, help, [=, &target](const QString &text) {
        target = text;
        return text.isEmpty() ? Failure(
                   problem(QStringLiteral("--%1 takes %2").arg(QLatin1String(name), QLatin1String(what))))
                              : Failure();
    });
}

void CommandLine::add(const char *name, const char *value, const QString &help, Take take)
{
    _parser.addOption({QLatin1String(name), help, QLatin1String(value)});
    _options.push_back({QLatin1String(name), std::move(take)});
}

Failure CommandLine::parse(const QStringList &arguments)
{
    _parser.addOptions({{{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Print this help.")},
                        {QStringLiteral("version"), QStringLiteral("Print the version.")}});
    if (!_parser.parse(arguments)) {
        QString text = _parser.errorText();
        text.chop(text.endsWith(QLatin1Char('.')) ? 1 : 0);
        return problem(text);
    }
    if (isSet("help") || isSet("version")) {
        return {};
    }
    for (const Option &option : _options) {
        if (_parser.isSet(option.name)) {
            if (Failure failure = option.take(_parser.value(option.name))) {
                return failure;
            }
        }
    }
    return {};
}

QString CommandLine::printedText() const
{
    return isSet("help")      ? _parser.helpText().trimmed()
           : isSet("version") ? QStringLiteral("%1 %2").arg(_program, QStringLiteral(ZELGL_TOOLS_VERSION))
                              : QString();
}

QString CommandLine::firstSet(std::initializer_list<const char *> names) const
{
    const auto *const found =
        std::find_if(names.begin(), names.end(), [this](const char *name) { return isSet(name); });
    return found != names.end() ? QLatin1String(*found) : QString();
}

Failure CommandLine::refuseSeveral(const QStringList &files) const
{
    return files.size() < 2 ? Failure()
                            : problem(QStringLiteral("only one FILE is allowed, not %1: '%2'")
                                          .arg(files.size())
                                          .arg(files.join(QStringLiteral("', '"))));
}

Problem CommandLine::problem(const QString &text) const
{
    return {ExitCode::eUsage, QStringLiteral("%1 (see %2 --help)").arg(text, _program)};
}

Failure CommandLine::refuseName(const char *name, const QString &text, const QStringList &names) const
{
    return problem(QStringLiteral("--%1 takes '%2' or '%3', not '%4'")
                       .arg(QLatin1String(name), names.mid(0, names.size() - 1).join(QStringLiteral("', '")),
                            names.last(), text));
}

} // namespace zeltools
