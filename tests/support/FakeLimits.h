#pragma once

#include "Tap.h"

#include <map>

/// Numbers of a driver that is not there: what `Slot`, one of the glGet functions that end in a name and a place for the
/// answer, answers for these names.
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
