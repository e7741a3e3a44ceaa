#include "support/MessageCapture.h"
#include "support/TestContext.h"

#include <ZelGL/GLContextTracker.h>
#include <ZelGL/GLUtilities.h>

#include <GL/glx.h>

using namespace Orvane::Zel;

using GLContextTrackerTest = MessageTest;

namespace {

/// A context made with GLX alone, of which Qt knows nothing.
class RawGlxContext
{
public:
    RawGlxContext()
    {
        const int configuration[] = {GLX_DRAWABLE_TYPE, GLX_PBUFFER_BIT, None};
        const int pbuffer[] = {GLX_PBUFFER_WIDTH, 1, GLX_PBUFFER_HEIGHT, 1, None};
        const int version32[] = {GLX_CONTEXT_MAJOR_VERSION_ARB, 3, GLX_CONTEXT_MINOR_VERSION_ARB, 2, None};
        const auto create = reinterpret_cast<PFNGLXCREATECONTEXTATTRIBSARBPROC>(
            glXGetProcAddress(reinterpret_cast<const GLubyte *>("glXCreateContextAttribsARB")));
        int found = 0;
        GLXFBConfig *configurations =
            glXChooseFBConfig(_display, DefaultScreen(_display), configuration, &found);
        if (found > 0) {
            _pbuffer = glXCreatePbuffer(_display, configurations[0], pbuffer);
            _context = create(_display, configurations[0], nullptr, True, version32);
        }
        XFree(configurations);
    }

    ~RawGlxContext()
    {
        doneCurrent();
        glXDestroyContext(_display, _context);
        glXDestroyPbuffer(_display, _pbuffer);
        XCloseDisplay(_display);
    }

    bool makeCurrent() { return glXMakeContextCurrent(_display, _pbuffer, _pbuffer, _context) == True; }

    void doneCurrent() { glXMakeContextCurrent(_display, None, None, nullptr); }

    void *identity() const { return _context; }

private:
    Display *_display = XOpenDisplay(nullptr);
    GLXPbuffer _pbuffer = 0;
    GLXContext _context = nullptr;
};

} // namespace

TEST_F(GLContextTrackerTest, TheIdentityIsQtsContextAndCheckComparesWithThatOfTheMoment)
{
    GLContextTracker tracker(nullptr);
    EXPECT_EQ(nullptr, tracker.trackedContext());
    EXPECT_TRUE(tracker.check()) << "both identities are null";

    const auto first = TestContext::create();
    EXPECT_EQ(first->context(), GLContextTracker::currentContext());
    EXPECT_FALSE(tracker.check());
    EXPECT_EQ(nullptr, tracker.trackedContext()) << "a check changes nothing";
    EXPECT_EQ(first->context(), tracker.trackCurrentContext());
    EXPECT_TRUE(tracker.check());

    const auto second = TestContext::create();
    EXPECT_FALSE(tracker.check());
    first->makeCurrent();
    EXPECT_TRUE(tracker.check());
    first->doneCurrent();
    EXPECT_FALSE(tracker.check());
    EXPECT_EQ(nullptr, GLContextTracker::currentContext());
}

TEST_F(GLContextTrackerTest, AContextUnknownToQtIsIdentifiedByGlx)
{
    qunsetenv("ZEL_NO_GL_EXTENSIONS");
    RawGlxContext raw;
    ASSERT_TRUE(raw.makeCurrent());
    EXPECT_EQ(nullptr, QOpenGLContext::currentContext());
    EXPECT_EQ(raw.identity(), GLContextTracker::currentContext());

    GLContextTracker tracker(nullptr);
    EXPECT_EQ(raw.identity(), tracker.trackCurrentContext());
    ASSERT_TRUE(initializeGLFunctions());
    EXPECT_TRUE(hasGLExtension("GL_ARB_sync")) << "the library works in it";
    raw.doneCurrent();
    EXPECT_FALSE(tracker.check());
}
