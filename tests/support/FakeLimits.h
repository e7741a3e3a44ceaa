#pragma once

#include "Tap.h"

#include <map>

/// Simulates the limits of another driver: replaces the results of `Slot`, a glGet function whose last parameters are a
/// name and a pointer to the result, for these names.
template <auto Slot> class FakeAnswers
{
public:
    FakeAnswers(GLenum name, GLint answer)
        : FakeAnswers(std::map<GLenum, GLint>{{name, answer}})
    {
    }

    explicit FakeAnswers(const std::map<GLenum, GLint> &answers)
    {
        _questions.replace([this, answers](auto... arguments) {
            _questions.original(arguments...);
            const auto all = std::make_tuple(arguments...);
            const auto answer = answers.find(std::get<sizeof...(arguments) - 2>(all));
            if (answer != answers.end()) {
                *std::get<sizeof...(arguments) - 1>(all) = answer->second;
            }
        });
    }

private:
    Hook<Slot> _questions;
};

using FakeLimits = FakeAnswers<&glGetIntegerv>;
