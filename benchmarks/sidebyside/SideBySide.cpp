#include "SideBySide.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace SideBySide {

Arguments::Arguments(int argc, char **argv)
    : _arguments(argv + 1, argv + argc)
{
}

int Arguments::integer(const std::string &name, int fallback) const
{
    const std::string *found = value(name);
    return found != nullptr ? std::atoi(found->c_str()) : fallback;
}

std::string Arguments::text(const std::string &name, const std::string &fallback) const
{
    const std::string *found = value(name);
    return found != nullptr ? *found : fallback;
}

std::string Arguments::file() const
{
    for (size_t i = 0; i < _arguments.size(); i += 2) { // an option and its value
        if (_arguments[i].rfind('-', 0) != 0) {
            return _arguments[i];
        }
    }
    return std::string();
}

const std::string *Arguments::value(const std::string &name) const
{
    for (size_t i = 0; i + 1 < _arguments.size(); ++i) {
        if (_arguments[i] == name) {
            return &_arguments[i + 1];
        }
    }
    return nullptr;
}

double processCpuSeconds()
{
    timespec time;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return double(time.tv_sec) + 1e-9 * double(time.tv_nsec);
}

void printResult(const std::string &workload, const std::string &variant, long n, const std::string &unit,
                 std::vector<double> values)
{
    if (values.empty()) {
        return;
    }
    std::sort(values.begin(), values.end());
    const size_t count = values.size();
    const char *label = std::getenv("BENCH_LABEL");
    std::printf(
        "RESULT workload=%s%s peer=zel variant=%s n=%ld median=%.6g q1=%.6g q3=%.6g min=%.6g runs=%zu "
        "unit=%s\n",
        workload.c_str(), label != nullptr ? label : "", variant.c_str(), n, values[count / 2],
        values[count / 4], values[count * 3 / 4], values.front(), count, unit.c_str());
    std::fflush(stdout);
}

} // namespace SideBySide
