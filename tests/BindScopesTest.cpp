#include "support/GLFixture.h"
#include "support/Tap.h"

#include <ZelGL/AutoBinder.h>
#include <ZelGL/AutoDisabler.h>
#include <ZelGL/AutoEnabler.h>

#include <QtGui/QOpenGLFunctions_3_2_Core>

using namespace Orvane::Zel;

using AutoBinderTest = MessageTest;
using CapabilityScopeTest = GLTest;

namespace {

/// Counts the calls of a scope.
struct Counted : Bindable
{
    bool bind() override { return ++bound, binds; }
    bool unbind() override { return ++unbound, false; } // the scope ignores the result

    bool binds = true;
    int bound = 0;
    int unbound = 0;
};

bool isBlending()
{
    return driver()->glIsEnabled(GL_BLEND) == GL_TRUE;
}

template <typename Scope> void expectScope(bool before, bool inside)
{
    before ? glEnable(GL_BLEND) : glDisable(GL_BLEND);
    Taps<&glIsEnabled, &glEnable, &glDisable> calls;
    {
        const Scope scope(GL_BLEND);
        EXPECT_EQ(inside, isBlending());
    }
    EXPECT_EQ(before, isBlending());
    EXPECT_EQ(1u, calls.of<&glIsEnabled>().count());
    EXPECT_EQ(size_t(inside) + size_t(before), calls.of<&glEnable>().count());
    EXPECT_EQ(3u, calls.count()) << "a call at either end, even where nothing changes";
}

} // namespace

TEST_F(AutoBinderTest, AScopeUnbindsWhatItBoundAndNothingElse)
{
    Counted willing;
    Counted unwilling;
    unwilling.binds = false;
    {
        const AutoBinder first(&willing);
        const AutoBinder second(&unwilling);
        EXPECT_EQ(1, willing.bound);
        EXPECT_EQ(1, unwilling.bound);
        EXPECT_EQ(0, willing.unbound);
    }
    EXPECT_EQ(1, willing.unbound);
    EXPECT_EQ(0, unwilling.unbound);
    EXPECT_EQ(1, willing.bound);
}

TEST_F(AutoBinderTest, ASharedPointerIsBoundButNotKeptAliveAndNullIsReported)
{
    QSharedPointer<Counted> object(new Counted);
    const QWeakPointer<Counted> weak = object;
    {
        const AutoBinder scope{QSharedPointer<Bindable>(object)};
        const AutoBinder none(static_cast<Bindable *>(nullptr));
        const AutoBinder noneShared{QSharedPointer<Bindable>()};
        EXPECT_EQ(1, object->bound);
    }
    EXPECT_EQ(1, object->unbound);
    object.reset();
    EXPECT_TRUE(weak.isNull());
    const char *const report = "debug AutoBinder tried to bind NULL object";
    EXPECT_MESSAGES(report, report);
}

TEST_F(CapabilityScopeTest, TheEarlierStateComesBack)
{
    for (const bool before : {false, true}) {
        expectScope<AutoEnabler>(before, true);
        expectScope<AutoDisabler>(before, false);
    }
    glDisable(GL_BLEND);
}
