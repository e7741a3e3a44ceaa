#pragma once

#include <string>
#include <vector>

/// What the programs that stand beside their peers share: their arguments, the clock and the line that they print.
///
/// Units: CPU seconds of the whole process, all threads, so that other load on the machine disturbs little.
namespace SideBySide {

/// The arguments of the command line: "-name value".
class Arguments
{
public:
    Arguments(int argc, char **argv);

    int integer(const std::string &name, int fallback) const;
    std::string text(const std::string &name, const std::string &fallback) const;
    /// The first that neither is a name nor belongs to one.
    std::string file() const;

private:
    const std::string *value(const std::string &name) const;

    std::vector<std::string> _arguments;
};

double processCpuSeconds();

/// "RESULT workload=... peer=zel variant=... n=... median=... q1=... q3=... min=... runs=... unit=...". The workload
/// gets the environment's BENCH_LABEL at its end.
void printResult(const std::string &workload, const std::string &variant, long n, const std::string &unit,
                 std::vector<double> values);

} // namespace SideBySide
