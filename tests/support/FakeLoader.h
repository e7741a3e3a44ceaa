#pragma once

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <utility>

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

    /// Look-ups of this name answer a function of the test's, cast to the common type.
    void provide(const QString &name, Function function) { _answers.insert(name, function); }

    /// All look-ups since the last call, in order, as "glXGetProcAddress glBufferStorage".
    QStringList takeLookUps() { return std::exchange(_lookUps, QStringList()); }

    /// What the look-up \a by answers: the living loader's function, or the real one.
    static Function lookUp(const char *by, const unsigned char *name);

private:
    static inline FakeLoader *_living = nullptr;

    QHash<QString, Function> _answers; ///< null for hidden names
    QStringList _lookUps;
};
