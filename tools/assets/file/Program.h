#pragma once

#include "file/Console.h"

namespace zeltools {

/// The main() of a program: reads the options, then prints --help or --version, or does the work. Returns the exit code.
///
/// \a readOptions: returns Expected options with a printedText. \a run: takes the options, and returns a Failure.
template <typename ReadOptions, typename Run>
int runProgram(const char *name, const ReadOptions &readOptions, const Run &run)
{
    Console::install(name);
    const auto options = readOptions();
    if (!options) {
        return Console::finish(options.problem());
    }
    if (!options->printedText.isEmpty()) {
        Console::printLine(options->printedText);
        return Console::finish({});
    }
    return Console::finish(run(*options));
}

} // namespace zeltools
