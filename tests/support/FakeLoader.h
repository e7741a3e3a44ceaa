#pragma once

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <tuple>
#include <utility>
#include <vector>

/// While it exists, intercepts the library's lookups of entry points by GLX: hides entry points, replaces them, and records
/// the lookups. The test program must be built with FAKE_LOADER. Only one may exist at a time.
///
/// Qt uses the same lookups, so create contexts before hiding anything.
class FakeLoader
{
    Q_DISABLE_COPY(FakeLoader)

public:
    using Function = void (*)();

    FakeLoader() { _living = this; }
    ~FakeLoader() { _living = nullptr; }

    /// Makes lookups of this name return null.
    void hide(const QString &name) { _answers.insert(name, nullptr); }

    /// Makes lookups of this name return a function of the test.
    template <typename Result, typename... Arguments>
    void provide(const QString &name, Result (*function)(Arguments...))
    {
        _answers.insert(name, reinterpret_cast<Function>(function));
    }

    /// Makes lookups of this name return a function that only records its calls: Recorded<Type>::calls.
    template <typename Type> void record(const QString &name);

    /// Makes all lookups return the real functions again.
    void show() { _answers.clear(); }

    /// All lookups since the last call, in order, as "glXGetProcAddress glBufferStorage".
    QStringList takeLookUps() { return std::exchange(_lookUps, QStringList()); }

    /// The result of the lookup function \a by: the function of the existing FakeLoader, or the real one.
    static Function lookUp(const char *by, const unsigned char *name);

private:
    static inline FakeLoader *_living = nullptr;

    QHash<QString, Function> _answers; ///< null for hidden names
    QStringList _lookUps;
};

/// The recorded calls of an entry point that is not in the library's table, by its type.
template <typename Type> struct Recorded;

template <typename... Arguments> struct Recorded<void (*)(Arguments...)>
{
    static inline std::vector<std::tuple<Arguments...>> calls;

    static void enter(Arguments... arguments) { calls.emplace_back(arguments...); }
};

template <typename Type> void FakeLoader::record(const QString &name)
{
    Recorded<Type>::calls.clear();
    provide(name, &Recorded<Type>::enter);
}
