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

template <typename Scope> void expectScope(bool before, bool inside)
{
    (before ? glEnable : glDisable)(GL_BLEND);
    Taps<&glIsEnabled, &glEnable, &glDisable> calls;
    {
        const Scope scope(GL_BLEND);
        EXPECT_EQ(inside, driver()->glIsEnabled(GL_BLEND));
    }
    EXPECT_EQ(before, driver()->glIsEnabled(GL_BLEND));
    EXPECT_EQ(1u, calls.of<&glIsEnabled>().count());
    EXPECT_EQ(size_t(inside) + size_t(before), calls.of<&glEnable>().count());
    EXPECT_EQ(3u, calls.count()) << "a call at either end, even if nothing changes";
}

} // namespace

TEST_F(AutoBinderTest, AScopeUnbindsWhatItBoundAndKeepsNothingAlive)
{
    QSharedPointer<Counted> willing(new Counted);
    Counted unwilling;
    unwilling.binds = false;
    {
        const AutoBinder first{QSharedPointer<Bindable>(willing)};
        const AutoBinder second(&unwilling);
        const AutoBinder none(static_cast<Bindable *>(nullptr));
        EXPECT_EQ(1, willing->bound);
        EXPECT_EQ(1, unwilling.bound);
        EXPECT_EQ(0, willing->unbound);
        EXPECT_MESSAGES("debug AutoBinder tried to bind NULL object");
    }
    EXPECT_EQ(1, willing->unbound);
    EXPECT_EQ(0, unwilling.unbound);
    const QWeakPointer<Counted> weak = willing;
    willing.reset();
    EXPECT_TRUE(weak.isNull());
}

TEST_F(CapabilityScopeTest, TheEarlierStateComesBack)
{
    for (const bool before : {false, true}) {
        expectScope<AutoEnabler>(before, true);
        expectScope<AutoDisabler>(before, false);
    }
    glDisable(GL_BLEND);
}
