#pragma once

#include "GLLedger.h"
#include "MessageCapture.h"
#include "TestContext.h"

/// The fixture of all tests that need GL: a current debug context of the core profile with the library's
/// functions initialised, one and the same for all tests of the process.
///
/// It judges silence. At its end, when the members of derived fixtures are gone, it fails on messages that
/// the test did not take, on GL errors, on what the driver reported, and on GL names that are still alive. A
/// missing context fails.
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
