#pragma once

/// \file
/// Wraps entry points of the table of GLLoader.h: all calls through a wrapped entry point go to a function of a visitor,
/// which forwards them to the driver or replaces them.
///
/// A visitor is a class with one static function, which is called with the function of the driver and the arguments, and
/// returns the result of the call.
///
/// \snippet check.cpp EntryPointTap
///
/// Context: any, none included. Install and remove while no other thread makes GL calls.
/// Errors:  none. An entry point that the driver lacks stays null, because the library compares with null.

#include <ZelGL/GLLoader.h>

namespace Orvane { namespace ZelCheck {

/// The wrapper of one entry point: `EntryPointTap<&glBindBuffer, Counter>`, since a macro of the loader makes the name a slot of
/// the table. There is one wrapper for each entry point and visitor. Wrappers of several visitors nest.
template <auto Slot, typename Visitor> class EntryPointTap;

template <typename Result, typename... Arguments, Result(APIENTRY **Slot)(Arguments...), typename Visitor>
class EntryPointTap<Slot, Visitor>
{
public:
    static void install()
    {
        if (*Slot != nullptr && (!_installed || *Slot == _driver)) {
            _driver = *Slot;
            *Slot = &enter;
            _installed = true;
        }
    }

    /// Puts the wrapper into an empty slot; the visitor's \a driver is null then.
    static void fill()
    {
        if (*Slot == nullptr) {
            *Slot = &enter;
            _installed = true;
        }
    }

    /// Whether calls through the slot go to this wrapper first.
    static bool isOnTop() { return *Slot == &enter; }

    /// Restores the slot. If another wrapper was installed later and still exists, that one keeps the slot, and this one keeps
    /// its place below it: remove wrappers in reverse order.
    static void remove()
    {
        if (_installed && isOnTop()) {
            *Slot = _driver;
            _driver = nullptr;
            _installed = false;
        }
    }

private:
    static Result APIENTRY enter(Arguments... arguments)
    {
        return Visitor::template call<Slot, Result, Arguments...>(_driver, arguments...);
    }

    static inline Result(APIENTRY *_driver)(Arguments...) = nullptr; ///< the previous value of the slot
    static inline bool _installed = false;
};

/// The wrappers of several entry points.
template <typename Visitor, auto... Slots> struct EntryPointTaps
{
    static void install() { static_cast<void>(Steps{0, (EntryPointTap<Slots, Visitor>::install(), 0)...}); }
    static void fill() { static_cast<void>(Steps{0, (EntryPointTap<Slots, Visitor>::fill(), 0)...}); }
    static void remove() { static_cast<void>(Steps{0, (EntryPointTap<Slots, Visitor>::remove(), 0)...}); }

private:
    using Steps = int[]; // a list: clang refuses fold expressions of more than 256 operands
};

}} // namespace Orvane::ZelCheck
