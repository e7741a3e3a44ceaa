#pragma once

namespace Orvane { namespace Zel {

/// Lets GLContextTracker::currentContext() answer from memory in this thread, for
/// the length of a scope: a draw of many objects asks several times for each, and
/// Qt takes its time to tell.
///
/// Context: the one that is current at the beginning, up to the end of the scope.
///          Where code of the host may run meanwhile, which is free to change
///          contexts, stands a Pause: around the readers of textures and the
///          handler of messages. A draw with a texture manager of the host's own
///          holds nothing.
/// Errors:  none. Holds and pauses nest.
/// Private to the library.
class ContextHold
{
public:
    class Pause;

    ContextHold();
    ~ContextHold();

    ContextHold(const ContextHold &) = delete;
    ContextHold &operator=(const ContextHold &) = delete;

private:
    void *_outer; ///< what was held before; null: nothing
};

/// Qt is asked again for the length of this scope.
class ContextHold::Pause
{
public:
    Pause();
    ~Pause();

    Pause(const Pause &) = delete;
    Pause &operator=(const Pause &) = delete;

private:
    void *_outer; ///< what goes on being held behind it
};

}} // namespace Orvane::Zel
