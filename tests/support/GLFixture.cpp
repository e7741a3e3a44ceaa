#include "GLFixture.h"

#include <ZelGL/GLUtilities.h>
#include <ZelGL/OpenGLDeviceContext.h>

namespace {

std::unique_ptr<TestContext> gContext;

/// Deletes the context after all tests, while the application object still exists.
class ContextEnd : public testing::Environment
{
    void TearDown() override { gContext.reset(); }
};

const auto *const gContextEnd = testing::AddGlobalTestEnvironment(new ContextEnd);

void prepareContext()
{
    if (!gContext) {
        gContext = TestContext::create();
    }
    ASSERT_TRUE(gContext && gContext->makeCurrent()) << "No test of this fixture can run without a context";
    ASSERT_TRUE(initializeGLFunctions());
}

} // namespace

GLTest::GLTest()
{
    prepareContext();
    if (!HasFatalFailure()) {
        _ledger = std::make_unique<GLLedger>();
    }
}

GLTest::~GLTest()
{
    if (!_ledger) {
        return;
    }
    makeCurrent();
    Orvane::Zel::OpenGLDeviceContext::resetContext(); // deletes the shared quad, which is not a leak
    EXPECT_EQ(QStringList(), _ledger->faults()) << "GL names at the end of the test";
    EXPECT_EQ(QStringList(), TestContext::takeDriverReports())
        << "GL debug output that the test did not take";
    EXPECT_EQ(std::vector<GLenum>(), takeGLErrors()) << "GL errors at the end of the test";
}

void GLTest::makeCurrent()
{
    gContext->makeCurrent();
}

QOpenGLContext *GLTest::context() const
{
    return gContext->context();
}
