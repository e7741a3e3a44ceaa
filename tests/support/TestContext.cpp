#include "TestContext.h"

#include <ZelKit/HeadlessContext.h>

#include <gtest/gtest.h>

#include <QtCore/QHash>
#include <QtCore/QMutex>
#include <QtGui/QGuiApplication>
#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <GL/glcorearb.h>

using Orvane::ZelKit::HeadlessContext;

namespace {

std::unique_ptr<QGuiApplication> gApplication;

QMutex gReportsMutex; // threads of the driver may report, too
QStringList gReports;

void APIENTRY collectReport(GLenum, GLenum type, GLuint id, GLenum, GLsizei, const GLchar *message,
                            const void *)
{
    // Other types, such as performance hints and shader statistics, are not faults.
    static const QHash<GLenum, const char *> kFaults = {{GL_DEBUG_TYPE_ERROR, "error"},
                                                        {GL_DEBUG_TYPE_DEPRECATED_BEHAVIOR, "deprecated"},
                                                        {GL_DEBUG_TYPE_UNDEFINED_BEHAVIOR, "undefined"}};
    if (kFaults.contains(type)) {
        QMutexLocker lock(&gReportsMutex);
        gReports += QString("%1 %2: %3").arg(kFaults[type]).arg(id).arg(message);
    }
}

} // namespace

void TestContext::ensureApplication()
{
    static int argc = 1;
    static char name[] = "zelgl-test";
    static char *argv[] = {name, nullptr};
    if (!gApplication) {
        gApplication = std::make_unique<QGuiApplication>(argc, argv);
    }
}

std::unique_ptr<TestContext> TestContext::create(Profile profile)
{
    ensureApplication();
    HeadlessContext::Options options;
    options.platform = HeadlessContext::eGLX;
    options.profile = profile == eCore ? HeadlessContext::eCore : HeadlessContext::eCompatibility;
    options.isDebug = true;
    options.startsLibrary = false;
    QString error;
    std::unique_ptr<HeadlessContext> context = HeadlessContext::create(options, &error);
    if (context == nullptr || integerOf(GL_CONTEXT_FLAGS) != GL_CONTEXT_FLAG_DEBUG_BIT) {
        ADD_FAILURE() << "There is no such OpenGL context: " << qPrintable(error);
        return nullptr;
    }
    watchDriver();
    return std::unique_ptr<TestContext>(new TestContext(std::move(context)));
}

TestContext::TestContext(std::unique_ptr<HeadlessContext> context)
    : _context(std::move(context))
{
}

TestContext::~TestContext() = default;

bool TestContext::makeCurrent()
{
    return _context->makeCurrent();
}

void TestContext::doneCurrent()
{
    _context->doneCurrent();
}

QOpenGLContext *TestContext::context()
{
    return _context->qtContext();
}

void TestContext::watchDriver()
{
    const QOpenGLContext *context = QOpenGLContext::currentContext();
    const auto callback =
        reinterpret_cast<PFNGLDEBUGMESSAGECALLBACKPROC>(context->getProcAddress("glDebugMessageCallback"));
    const auto control =
        reinterpret_cast<PFNGLDEBUGMESSAGECONTROLPROC>(context->getProcAddress("glDebugMessageControl"));
    callback(&collectReport, nullptr);
    control(GL_DONT_CARE, GL_DONT_CARE, GL_DONT_CARE, 0, nullptr, GL_TRUE);
    driver()->glEnable(GL_DEBUG_OUTPUT);
    driver()->glEnable(GL_DEBUG_OUTPUT_SYNCHRONOUS);
}

QStringList TestContext::takeDriverReports()
{
    QMutexLocker lock(&gReportsMutex);
    return std::exchange(gReports, {});
}

void TestContext::endApplication()
{
    gApplication.reset();
}

QOpenGLFunctions_3_2_Core *driver()
{
    auto *functions = QOpenGLContext::currentContext()->versionFunctions<QOpenGLFunctions_3_2_Core>();
    functions->initializeOpenGLFunctions();
    return functions;
}

GLint integerOf(GLenum name)
{
    GLint value = -1;
    driver()->glGetIntegerv(name, &value);
    return value;
}

QString driverVersion()
{
    return reinterpret_cast<const char *>(driver()->glGetString(GL_VERSION));
}

std::vector<GLenum> takeGLErrors()
{
    std::vector<GLenum> errors;
    for (GLenum error = driver()->glGetError(); error != GL_NO_ERROR; error = driver()->glGetError()) {
        errors.push_back(error);
    }
    TestContext::takeDriverReports();
    return errors;
}
