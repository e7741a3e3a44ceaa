#pragma once

#include <QtCore/QByteArray>

namespace Orvane {

namespace Zel {
class ShaderProgram;
}

namespace ZelShaders {

/// A hash of everything that the link of a program in the current context depends on. Empty for a program without stages, and
/// for one with a stage whose source is cleared.
QByteArray programKey(const Zel::ShaderProgram &program);

} // namespace ZelShaders
} // namespace Orvane
