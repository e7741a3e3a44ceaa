#pragma once

#include "frame/Outcome.h"
#include "frame/Programs.h"

#include <QtCore/QSize>

#include <memory>

namespace zelview {

/// The soft gradient behind a model.
class Backdrop
{
public:
    static Expected<std::unique_ptr<Backdrop>> create(Programs &programs);

    /// Fills the bound framebuffer; depth is neither tested nor written.
    void draw(const QSize &viewport);

private:
    explicit Backdrop(ProgramPointer program);

    ProgramPointer _program;
};

} // namespace zelview
