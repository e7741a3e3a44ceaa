#pragma once

#include <QtCore/QString>

#include <optional>
#include <utility>
#include <variant>

namespace zeltools {

/// Exit codes of the program; scripts depend on the numbers.
enum class ExitCode {
    eOk = 0,
    eUsage = 1, ///< the command line is wrong
    eFile = 2,  ///< a file cannot be read or written
    eInput = 3, ///< a file is malformed or unsupported
    eGL = 4     ///< no display, no usable context, or a failure of the driver
};

/// An error: one line for the user, and the exit code.
struct Problem
{
    ExitCode code;
    QString text;
};

/// The result of an operation without a value: empty on success.
using Failure = std::optional<Problem>;

/// A value, or the problem that prevented it.
template <typename T> class Expected
{
public:
    Expected(T value)
        : _content(std::move(value))
    {
    }

    Expected(Problem problem)
        : _content(std::move(problem))
    {
    }

    explicit operator bool() const { return std::holds_alternative<T>(_content); }

    T &operator*() { return std::get<T>(_content); }
    const T &operator*() const { return std::get<T>(_content); }
    T *operator->() { return &std::get<T>(_content); }
    const T *operator->() const { return &std::get<T>(_content); }

    const Problem &problem() const { return std::get<Problem>(_content); }

private:
    std::variant<T, Problem> _content;
};

} // namespace zeltools
