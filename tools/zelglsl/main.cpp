// zelglsl: the text processor and the diagnosis of shaders on the command line.

#include "Commands.h"
#include "Explain.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>

#include <cstdio>

namespace {

const char kDescription[] =
    "Expands the shaders of a host as the library does, finds mistakes in them, and shows what includes "
    "what. Needs no "
    "context.\n\n"
    "Commands:\n"
    "  expand  print the text that the driver compiles; --map adds the file and line of each line\n"
    "  lint    print mistakes, a line each: missing and endless includes, files that are included twice, "
    "unknown plans\n"
    "          and macros, undefined names in an #if, functions that no file of the stage defines\n"
    "  graph   print what includes what; --dot for Graphviz\n"
    "  explain print cause and remedy of a message of the library or its tools, as it was logged; - reads "
    "the standard\n"
    "          input and explains each message once: host 2>&1 | zelglsl explain -\n\n"
    "FILE is a path, or the name of a stage of the library, such as ZelUtilities.glslc. lint takes the files "
    "of one stage "
    "together:\n"
    "  zelglsl lint -I shaders my.vert my.frag -L ZelUtilities.glslc\n\n"
    "Exit codes: 0 success, 1 lint found an error, an expansion left something out or explain knows no "
    "message, 2 wrong\n"
    "arguments, 3 a file or glslangValidator is missing, or the output cannot be written.";

/// The exit code, if the output was written.
int finish(int code)
{
    if (std::fflush(stdout) != 0) {
        printError(QStringLiteral("cannot write the output"));
        return eNoFile;
    }
    return code;
}

int runCommand(Input &input, const QCommandLineParser &parser)
{
    input.files = parser.positionalArguments();
    const QString command = input.files.isEmpty() ? QString() : input.files.takeFirst();
    if (command.isEmpty()) {
        return failUsage(QStringLiteral("a command is missing: expand, lint, graph or explain"));
    }
    if (command == QLatin1String("explain")) {
        return failUsage(QStringLiteral("explain must be the first argument"));
    }
    const auto run = command == QLatin1String("expand")  ? expand
                     : command == QLatin1String("lint")  ? lint
                     : command == QLatin1String("graph") ? graph
                                                         : nullptr;
    if (run == nullptr) {
        return failUsage(QStringLiteral("unknown command '%1'").arg(command));
    }
    if (const QString error = input.read(parser, command); !error.isEmpty()) {
        return failUsage(error);
    }
    if (input.files.isEmpty()) {
        return failUsage(QStringLiteral("%1 needs a file").arg(command));
    }
    return finish(run(input));
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("zelglsl"));
    QCommandLineParser parser;
    parser.setApplicationDescription(QLatin1String(kDescription));
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("expand, lint, graph or explain"));
    parser.addPositionalArgument(QStringLiteral("file"), QStringLiteral("a shader"),
                                 QStringLiteral("FILE..."));
    const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Print this text."));
    parser.addOption(help);
    const QCommandLineOption version(QStringLiteral("version"), QStringLiteral("Print the version."));
    parser.addOption(version);
    Input input;
    Input::addOptionsTo(parser);
    const QStringList arguments = application.arguments();
    const QString second = arguments.value(2);
    const bool asksForHelp = second == QLatin1String("-h") || second == QLatin1String("--help");
    if (arguments.value(1) == QLatin1String("explain") && !asksForHelp) {
        return finish(explain(arguments.mid(2))); // its text may begin like an option
    }
    if (!parser.parse(arguments)) {
        const QString text = parser.errorText();
        return failUsage(text.endsWith(QLatin1Char('.')) ? text.chopped(1) : text);
    }
    if (parser.isSet(help)) {
        print(parser.helpText().trimmed());
        return finish(eSuccess);
    }
    if (parser.isSet(version)) {
        print(QStringLiteral("zelglsl " ZELGLSL_VERSION));
        return finish(eSuccess);
    }
    return runCommand(input, parser);
}
