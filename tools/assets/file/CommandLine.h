#pragma once

#include "file/Outcome.h"

#include <QtCore/QCommandLineParser>

#include <functional>
#include <vector>

namespace zeltools {

/// The command line of a program: its options, each with the variable that it sets. Adds --help and --version.
///
/// Context: needs an application object of any kind, for the program's name. Opens no file.
/// Errors:  ExitCode::eUsage, with a line for the user.
class CommandLine
{
    Q_DISABLE_COPY(CommandLine)

public:
    /// Stores the value of an option, or refuses it.
    using Take = std::function<Failure(const QString &)>;

    CommandLine(const char *program, const char *description);

    /// The argument FILE, for --help.
    void describeFile(const char *help);

    // Adds an option: its name, the name of its value, its help, and what receives the value. Variables that are not set keep
    // their values; all must outlive parse().

    void addFlag(const char *name, const QString &help, bool &target);
    void addNumber(const char *name, const char *value, const QString &help, int &target, int low, int high);
    void addReal(const char *name, const char *value, const QString &help, float &target, float low,
                 float high);
    /// Refuses an empty text. \a what: what the message asks for.
    void addText(const char *name, const char *value, const QString &help, QString &target, const char *what);
    void add(const char *name, const char *value, const QString &help, Take take);
    /// The value of the enumeration \a Choice at the index of the text among the names.
    template <typename Choice, typename Target>
    void addName(const char *name, const char *value, const QString &help, Target &target,
                 const QStringList &names)
    {
        add(name, value, help, [=, &target](const QString &text) {
            const int index = names.indexOf(text);
            target = index < 0 ? target : Target(Choice(index));
            return index < 0 ? refuseName(name, text, names) : Failure();
        });
    }

    /// Parses the arguments, of which the first is the program's name. Takes the values in the order of the options above,
    /// unless --help or --version is given.
    Failure parse(const QStringList &arguments);

    /// The text of --help or --version, to print as a line instead of doing anything; otherwise empty.
    QString printedText() const;

    bool isSet(const char *name) const { return _parser.isSet(QLatin1String(name)); }
    /// The first of these options that was given; empty if none was.
    QString firstSet(std::initializer_list<const char *> names) const;
    QStringList files() const { return _parser.positionalArguments(); }
    /// Returns a problem if there are several of these files.
    Failure refuseSeveral(const QStringList &files) const;

    /// A problem with a hint at --help.
    Problem problem(const QString &text) const;

private:
    struct Option
    {
        QString name;
        Take take;
    };

    Failure refuseName(const char *name, const QString &text, const QStringList &names) const;

    QString _program;
    QCommandLineParser _parser;
    std::vector<Option> _options;
};

} // namespace zeltools
