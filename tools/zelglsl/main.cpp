// zelglsl: the text processor and the diagnosis of shaders on the command line.

#include "Commands.h"

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
    "  graph   print what includes what; --dot for Graphviz\n\n"
    "FILE is a path, or the name of a stage of the library, such as ZelUtilities.glslc. lint takes the files "
    "of one stage "
    "together:\n"
    "  zelglsl lint -I shaders my.vert my.frag -L ZelUtilities.glslc\n\n"
    "Exit codes: 0 success, 1 lint found an error or an expansion left something out, 2 wrong arguments, 3 a "
    "file or\n"
    "glslangValidator is missing, or the output cannot be written.";

int fail(const QString &message)
{
    printError(message + QStringLiteral("; see zelglsl --help"));
    return eUsage;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("zelglsl"));
    QCommandLineParser parser;
    parser.setApplicationDescription(QLatin1String(kDescription));
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("expand, lint or graph"));
    parser.addPositionalArgument(QStringLiteral("file"), QStringLiteral("a shader"),
                                 QStringLiteral("FILE..."));
    const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Print this text."));
    parser.addOption(help);
    Input input;
    Input::addOptionsTo(parser);
    if (!parser.parse(application.arguments())) {
        return fail(parser.errorText());
    }
    if (parser.isSet(help)) {
        print(parser.helpText());
        return eSuccess;
    }
    input.files = parser.positionalArguments();
    const QString command = input.files.isEmpty() ? QString() : input.files.takeFirst();
    const QString error = input.read(parser);
    if (!error.isEmpty()) {
        return fail(error);
    }
    if (command.isEmpty()) {
        return fail(QStringLiteral("a command is missing: expand, lint or graph"));
    }
    const auto run = command == QLatin1String("expand")  ? expand
                     : command == QLatin1String("lint")  ? lint
                     : command == QLatin1String("graph") ? graph
                                                         : nullptr;
    if (run == nullptr) {
        return fail(QStringLiteral("unknown command '%1'").arg(command));
    }
    if (input.files.isEmpty()) {
        return fail(QStringLiteral("%1 needs a file").arg(command));
    }
    const int code = run(input);
    if (std::fflush(stdout) != 0) {
        printError(QStringLiteral("cannot write the output"));
        return eNoFile;
    }
    return code;
}
