#pragma once

#include "file/Outcome.h"
#include "frame/Programs.h"

#include <QtCore/QSize>

#include <memory>

namespace zeltools {

/// The soft gradient that is the background of a model.
class Backdrop
{
public:
    static Expected<std::unique_ptr<Backdrop>> create(Programs &programs);

    /// Fills the bound framebuffer. Neither tests nor writes depth.
    void draw(const QSize &viewport);

private:
    explicit Backdrop(ProgramPointer program);

    ProgramPointer _program;
};

} // namespace zeltools
