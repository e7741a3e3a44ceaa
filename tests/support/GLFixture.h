#pragma once

#include "GLLedger.h"
#include "MessageCapture.h"
#include "TestContext.h"

/// The fixture of all tests that need GL. A debug context of the core profile, shared by all tests of the process, is
/// current, and the library's functions are initialised.
///
/// The destructor, which runs after the destructors of derived fixtures, fails the test on messages that the test did not
/// take, on GL errors, on reports of the driver, and on GL objects that still exist. A missing context is a failure.
class GLTest : public MessageTest
{
protected:
    GLTest();
    ~GLTest() override;

    /// Makes the fixture's context current again.
    void makeCurrent();

    QOpenGLContext *context() const;

    GLLedger &ledger() { return *_ledger; }

private:
    std::unique_ptr<GLLedger> _ledger; ///< null when there is no context
};
