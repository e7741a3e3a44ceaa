#pragma once

#include <ZelCheck/EntryPointTap.h>

#include <functional>
#include <tuple>
#include <vector>

/// While it exists, intercepts one entry point: `Hook<&glBindBuffer>`, since a macro of the loader makes that name a slot
/// of the table. Hooks on one slot nest: each forwards to the one created before it, the first to the driver. Destroy them
/// in reverse order.
template <auto Slot> class Hook;

/// Leads the calls of a wrapped entry point to the hook that was created last.
struct LastHook
{
    template <auto Slot, typename Result, typename... Arguments>
    static Result call(Result(APIENTRY *)(Arguments...), Arguments... arguments)
    {
        return Hook<Slot>::_top->call(arguments...);
    }
};

template <typename Result, typename... Arguments, Result (**Slot)(Arguments...)> class Hook<Slot>
{
public:
    using Function = std::function<Result(Arguments...)>;

    Hook()
        : _outer(_top)
        , _driver(*Slot)
    {
        _top = this;
        if (_outer == nullptr) {
            Wrapper::install();
            Wrapper::fill(); // if the driver lacks the function
        }
    }

    Hook(const Hook &) = delete;
    Hook &operator=(const Hook &) = delete;

    virtual ~Hook()
    {
        _top = _outer;
        if (_outer == nullptr) {
            Wrapper::remove();
        }
    }

    /// Replaces the call by a function, which may call original(). An empty function ends the replacement.
    void replace(Function function) { _replacement = std::move(function); }

    /// Makes the call without this hook.
    Result original(Arguments... arguments)
    {
        return _outer != nullptr ? _outer->call(arguments...) : _driver(arguments...);
    }

protected:
    virtual Result call(Arguments... arguments)
    {
        return _replacement ? _replacement(arguments...) : original(arguments...);
    }

private:
    friend struct LastHook;
    using Wrapper = Orvane::ZelCheck::EntryPointTap<Slot, LastHook>;

    static inline Hook *_top = nullptr;

    Hook *_outer;
    Result (*_driver)(Arguments...); ///< previous value of the slot; of an outer hook, its wrapper
    Function _replacement;
};

/// A hook that records the calls: `Tap<&glBindBuffer> binds; ... EXPECT_EQ(1u, binds.count());`. Arguments are recorded by
/// value: the memory that a pointer refers to is not recorded.
template <auto Slot> class Tap;

template <typename Result, typename... Arguments, Result (**Slot)(Arguments...)>
class Tap<Slot> : public Hook<Slot>
{
public:
    using Call = std::tuple<Arguments...>;

    size_t count() const { return _calls.size(); }

    /// The arguments of all calls, in order: `EXPECT_EQ(std::make_tuple(GL_ARRAY_BUFFER, 0u),
    /// binds.calls().back())`.
    const std::vector<Call> &calls() const { return _calls; }

    /// Argument `Index` of the last call.
    template <size_t Index> auto last() const { return std::get<Index>(_calls.at(_calls.size() - 1)); }

    void clear() { _calls.clear(); }

protected:
    Result call(Arguments... arguments) override
    {
        _calls.emplace_back(arguments...);
        return Hook<Slot>::call(arguments...);
    }

private:
    std::vector<Call> _calls;
};

/// A tap on each of several entry points, counted together: `Taps<&glBindBuffer, &glBufferData> taps; ...
/// EXPECT_EQ(1u, taps.of<&glBufferData>().count());`.
template <auto... Slots> class Taps
{
public:
    template <auto Slot> Tap<Slot> &of() { return std::get<Tap<Slot>>(_taps); }

    template <auto Slot> const Tap<Slot> &of() const { return std::get<Tap<Slot>>(_taps); }

    size_t count() const { return (of<Slots>().count() + ...); }

    void clear() { (of<Slots>().clear(), ...); }

    /// From now on calls are only recorded and do not reach the driver. For entry points without a result.
    void hold()
    {
        (of<Slots>().replace([](auto...) {}), ...);
    }

private:
    std::tuple<Tap<Slots>...> _taps;
};
