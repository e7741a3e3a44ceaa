#pragma once

namespace Orvane { namespace Zel {

class ContextState;

/// Makes ContextState::current() and GLContextTracker::currentContext() return the record and identity of one context during
/// a scope, in this thread. A draw of many objects needs them several times for each object, and the query of Qt
/// costs more than all the rest of a look-up.
///
/// Context: the one that is current at the start must stay current to the end of the scope. Code of the host may change
///          contexts; the library therefore makes a Pause around it (image readers, the message handler), and a draw with a
///          texture manager of the host holds nothing.
/// Errors:  none. Holds and pauses nest.
/// Private to the library; owner is ContextState.
class ContextHold
{
public:
    class Pause;

    ContextHold();
    ~ContextHold();

    ContextHold(const ContextHold &) = delete;
    ContextHold &operator=(const ContextHold &) = delete;

private:
    ContextState *_outer; ///< the record before this scope; null: none was held
};

/// The context is queried again during this scope.
class ContextHold::Pause
{
public:
    Pause();
    ~Pause();

    Pause(const Pause &) = delete;
    Pause &operator=(const Pause &) = delete;

private:
    ContextState *_outer; ///< the record that is held again after this scope
};

}} // namespace Orvane::Zel
