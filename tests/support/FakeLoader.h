#pragma once

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <tuple>
#include <utility>
#include <vector>

/// Stands between the library and GLX for the time of its scope: hides entry points, hands out others, and keeps
/// the list of look-ups. The test program must be made with FAKE_LOADER. One at a time.
///
/// Qt looks entry points up by the same road, so make contexts before something is hidden.
class FakeLoader
{
    Q_DISABLE_COPY(FakeLoader)

public:
    using Function = void (*)();

    FakeLoader() { _living = this; }
    ~FakeLoader() { _living = nullptr; }

    /// Look-ups of this name answer null.
    void hide(const QString &name) { _answers.insert(name, nullptr); }

    /// Look-ups of this name answer a function of the test's.
    template <typename Result, typename... Arguments>
    void provide(const QString &name, Result (*function)(Arguments...))
    {
        _answers.insert(name, reinterpret_cast<Function>(function));
    }

    /// Look-ups of this name answer a function that does nothing but keep a record: Recorded<Type>::calls.
    template <typename Type> void record(const QString &name);

    /// All names lead to the real functions again.
    void show() { _answers.clear(); }

    /// All look-ups since the last call, in order, as "glXGetProcAddress glBufferStorage".
    QStringList takeLookUps() { return std::exchange(_lookUps, QStringList()); }

    /// What the look-up \a by answers: the living loader's function, or the real one.
    static Function lookUp(const char *by, const unsigned char *name);

private:
    static inline FakeLoader *_living = nullptr;

    QHash<QString, Function> _answers; ///< null for hidden names
    QStringList _lookUps;
};

/// The calls of an entry point that is not in the library's table, by its type.
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
