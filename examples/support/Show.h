#pragma once

#include <functional>
#include <memory>

/// What an example shows: a picture that moves.
///
/// Units:   seconds since the start; the aspect is width by height.
/// Context: made, drawn and deleted with one and the same context current.
class Show
{
public:
    virtual ~Show() = default;

    /// Passes into framebuffers of its own.
    virtual void prepare(float aspect, float seconds);
    /// Into the bound framebuffer, which is cleared.
    virtual void draw(float aspect, float seconds) = 0;
};

/// Shows it in a window or, with "--offscreen FILE", writes one picture of it. For main() to answer.
///
/// Errors: a picture that is empty, or that the library or the driver had something to say about, is a failure.
int present(int argc, char **argv, const std::function<std::unique_ptr<Show>()> &make);
