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
    ObjectFacts *const facts = isOn ? objects().find(kind, object) : nullptr;
    if (facts == nullptr || facts->isTitled) {
        return;
    }
    facts->isTitled = true;
    if (labelOf(kind, object).isEmpty()) {
        setLabelOf(kind, object, titleOf(kind, object));
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
    if (isOn) {
        objects().known(kind, object).isTitled = true;
        setLabelOf(kind, object, titleOf(kind, object));
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
