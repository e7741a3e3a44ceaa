#include "support/GLFixture.h"
#include "support/Tap.h"

#include <ZelGL/AutoBinder.h>
#include <ZelGL/AutoDisabler.h>
#include <ZelGL/AutoEnabler.h>

using namespace Orvane::Zel;

using AutoBinderTest = MessageTest;
using CapabilityScopeTest = GLTest;

namespace {

/// Counts what a scope does to it.
class Counted : public Bindable
{
public:
    explicit Counted(bool binds)
        : _binds(binds)
    {
    }

    bool bind() override
    {
        ++bound;
        return _binds;
    }

    bool unbind() override
    {
        ++unbound;
        return false; // an answer that the scope does not look at
    }

    int bound = 0;
    int unbound = 0;

private:
    bool _binds;
};

} // namespace

TEST_F(AutoBinderTest, AScopeUnbindsWhatItBoundAndNothingElse)
{
    Counted willing(true);
    Counted unwilling(false);
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

TEST_F(AutoBinderTest, ASharedPointerIsBoundButNotKeptAlive)
{
    QSharedPointer<Counted> object(new Counted(true));
    const QWeakPointer<Counted> weak = object;
    {
        const AutoBinder scope{QSharedPointer<Bindable>(object)};
        EXPECT_EQ(1, object->bound);
    }
    EXPECT_EQ(1, object->unbound);
    object.reset();
    EXPECT_TRUE(weak.isNull());
}

TEST_F(AutoBinderTest, NullIsReportedAndLeftAlone)
{
    {
        const AutoBinder raw(static_cast<Bindable *>(nullptr));
        EXPECT_MESSAGES("debug AutoBinder tried to bind NULL object");
        const AutoBinder shared{QSharedPointer<Bindable>()};
        EXPECT_MESSAGES("debug AutoBinder tried to bind NULL object");
    }
    EXPECT_MESSAGES();
}

TEST_F(CapabilityScopeTest, TheEarlierStateComesBack)
{
    for (const bool before : {false, true}) {
        before ? glEnable(GL_BLEND) : glDisable(GL_BLEND);
        {
            const AutoEnabler scope(GL_BLEND);
            EXPECT_TRUE(glIsEnabled(GL_BLEND));
        }
        EXPECT_EQ(before, glIsEnabled(GL_BLEND) == GL_TRUE);
        {
            const AutoDisabler scope(GL_BLEND);
            EXPECT_FALSE(glIsEnabled(GL_BLEND));
        }
        EXPECT_EQ(before, glIsEnabled(GL_BLEND) == GL_TRUE);
    }
    glDisable(GL_BLEND);
}

TEST_F(CapabilityScopeTest, EveryScopeAsksOnceAndSetsTwiceEvenWhereNothingChanges)
{
    glEnable(GL_CULL_FACE);
    Taps<&glIsEnabled, &glEnable, &glDisable> calls;
    const auto expect = [&](size_t questions, size_t enables, size_t disables) {
        EXPECT_EQ(questions, calls.of<&glIsEnabled>().count());
        EXPECT_EQ(enables, calls.of<&glEnable>().count());
        EXPECT_EQ(disables, calls.of<&glDisable>().count());
        calls.clear();
    };
    AutoEnabler(GL_CULL_FACE);
    expect(1, 2, 0);
    glDisable(GL_CULL_FACE);
    AutoDisabler(GL_CULL_FACE);
    expect(1, 0, 3);
}
