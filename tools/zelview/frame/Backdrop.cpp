#include "frame/Backdrop.h"

#include <ZelGL/ZelGL.h>

using namespace Orvane::Zel;

namespace zeltools {

Backdrop::Backdrop(ProgramPointer program)
    : _program(std::move(program))
{
}

Expected<std::unique_ptr<Backdrop>> Backdrop::create(Programs &programs)
{
    Expected<ProgramPointer> program = programs.buildFullscreen(QStringLiteral("backdrop.frag"));
    if (!program) {
        return program.problem();
    }
    return std::unique_ptr<Backdrop>(new Backdrop(*program));
}

void Backdrop::draw(const QSize &viewport)
{
    const AutoDisabler noDepthTest(GL_DEPTH_TEST);
    const AutoDisabler noBlending(GL_BLEND);
    const AutoBinder bound(_program.data());
    _program->setUniform(QStringLiteral("u_Aspect"),
                         QVariant(float(viewport.width()) / float(viewport.height())));
    drawFullscreen(_program.data());
}

} // namespace zeltools
