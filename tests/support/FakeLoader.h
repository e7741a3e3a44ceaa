#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

/// Stands between the library and GLX for the time of its scope: hides entry points, hands out others, keeps
/// the list of look-ups, and answers for the current GLX context. The test program must be made with
/// FAKE_LOADER. One at a time.
///
/// Qt looks entry points up by the same road, so make contexts before something is hidden.
class FakeLoader
{
    Q_DISABLE_COPY(FakeLoader)

public:
    using Function = void (*)();

    FakeLoader();
    ~FakeLoader();

    /// Look-ups of this name answer null; of every name.
    void hide(const QString &name);
    void hideAll();

    /// Look-ups of this name answer a function of the test's, cast to the common type.
    void provide(const QString &name, Function function);

    /// What glXGetCurrentContext() answers.
    void setCurrentContext(void *context);

    /// All look-ups since the last call, in order, as "glXGetProcAddress glBufferStorage".
    QStringList takeLookUps();

private:
    friend struct FakeLoaderGate;

    struct State;
    State *_state;
};
