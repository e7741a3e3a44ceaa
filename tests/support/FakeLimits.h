#pragma once

#include "Tap.h"

#include <map>

/// The limits of a driver that is not there: what glGetIntegerv() answers for these names.
class FakeLimits
{
public:
    explicit FakeLimits(const std::map<GLenum, GLint> &limits)
    {
        _integers.replace([this, limits](GLenum name, GLint *value) {
            _integers.original(name, value);
            const auto limit = limits.find(name);
            *value = limit != limits.end() ? limit->second : *value;
        });
    }

private:
    Hook<&glGetIntegerv> _integers;
};
