#pragma once

#include <QtCore/QString>

#include <optional>
#include <utility>
#include <variant>

namespace zelview {

/// How the program ends; the numbers are its contract with scripts.
enum class ExitCode {
    eOk = 0,
    eUsage = 1, ///< the command line cannot be carried out
    eFile = 2,  ///< a file cannot be read or written
    eInput = 3, ///< a file was read and makes no sense
    eGL = 4     ///< no display, no usable context, or a driver that gives up
};

/// What went wrong: one line for the user, and the exit code that it leads to.
struct Problem
{
    ExitCode code;
    QString text;
};

/// The result of an operation that yields nothing: empty when all went well.
using Failure = std::optional<Problem>;

/// A value, or the problem that kept it from being made.
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

} // namespace zelview
