#pragma once

#include <functional>
#include <memory>

/// Base class of the examples: an animated picture.
///
/// Units:   seconds since the start; the aspect is width divided by height.
/// Context: construct, draw and delete with the same context current.
class Show
{
public:
    virtual ~Show() = default;

    /// Draws passes into the example's own framebuffers.
    virtual void prepare(float aspect, float seconds);
    /// Draws into the bound framebuffer, which is cleared.
    virtual void draw(float aspect, float seconds) = 0;
};

/// Shows an example in a window or, with "--offscreen FILE", writes one picture of it. Returns the exit code for main().
///
/// Errors: an empty picture, or any message of the library or the driver, is a failure.
int present(int argc, char **argv, const std::function<std::unique_ptr<Show>()> &make);
