#pragma once

#include <string>
#include <vector>

/// Shared by the programs that are compared with peers: arguments, clock and output line.
///
/// Units: CPU seconds of all threads of the process, which depend little on other load of the machine.
namespace SideBySide {

/// The arguments of the command line: "-name value".
class Arguments
{
public:
    Arguments(int argc, char **argv);

    int integer(const std::string &name, int fallback) const;
    std::string text(const std::string &name, const std::string &fallback) const;
    /// The first argument that is neither a name nor the value of one.
    std::string file() const;

private:
    const std::string *value(const std::string &name) const;

    std::vector<std::string> _arguments;
};

double processCpuSeconds();

/// Prints "RESULT workload=... peer=zel variant=... n=... median=... q1=... q3=... min=... runs=... unit=...". Appends the
/// environment variable BENCH_LABEL to the workload.
void printResult(const std::string &workload, const std::string &variant, long n, const std::string &unit,
                 std::vector<double> values);

} // namespace SideBySide
