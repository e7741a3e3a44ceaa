#include "Labels.h"

#include "../Check.h"

#include "Driver.h"
#include "HostCalls.h"
#include "ProgramFacts.h"
#include "Reports.h"

#include <QtGui/QOpenGLContext>

#include <atomic>

namespace Orvane { namespace ZelCheck {

namespace {

std::atomic<bool> isOn{false};

void write(Kind kind, GLuint object)
{
    const QByteArray title = titleOf(kind, object).toUtf8().left(200); // GL allows 256 bytes
    if (title.isEmpty()) {
        return;
    }
    newerFunctions().objectLabel(identifierOf(kind), object, title.size(), title.constData());
    driver.glGetError(); // an error of the label is not the host's
}

/// The functions of the current context, read under the lock of the check.
NewerFunctions functionsNow()
{
    if (QOpenGLContext::currentContext() == nullptr) {
        return NewerFunctions();
    }
    if (Inside::isActive()) {
        return newerFunctions();
    }
    const Inside inside;
    return newerFunctions();
}

} // namespace

void Labels::switchOn(bool isWanted)
{
    isOn = isWanted;
}

void Labels::name(Kind kind, GLuint object)
{
    if (!isOn || object == 0 || newerFunctions().objectLabel == nullptr) {
        return;
    }
    ObjectFacts *const facts = objects().find(kind, object);
    if (facts == nullptr || facts->isLabelled) {
        return;
    }
    GLchar ofHost[2] = {};
    newerFunctions().getObjectLabel(identifierOf(kind), object, sizeof ofHost, nullptr, ofHost);
    if (ofHost[0] == '\0') {
        facts->isLabelled = true;
        write(kind, object);
    }
}

void Labels::program(GLuint program)
{
    const QString files = filesOfProgram(program);
    if (!files.isEmpty()) {
        objects().known(Kind::eProgram, program).file = files;
    }
    name(Kind::eProgram, program);
}

void Labels::rename(Kind kind, GLuint object)
{
    if (isOn && newerFunctions().objectLabel != nullptr) {
        objects().known(kind, object).isLabelled = true;
        write(kind, object);
    }
}

Group::Group(const char *title)
    : _isOpen(false)
{
    if (!isOn) {
        return;
    }
    const auto pushDebugGroup = functionsNow().pushDebugGroup;
    if (pushDebugGroup != nullptr) {
        pushDebugGroup(GL_DEBUG_SOURCE_APPLICATION, 0, -1, title);
        _isOpen = true;
    }
}

Group::~Group()
{
    if (_isOpen) {
        if (const auto popDebugGroup = functionsNow().popDebugGroup) {
            popDebugGroup();
        }
    }
}

}} // namespace Orvane::ZelCheck
