#pragma once

class QString;

namespace Orvane { namespace Zel {

/// Writes the GLSL declarations of the plan \a planName to \a text. Returns false for an unknown name, which the registry
/// reports.
///
/// Shaders are below instance data in the order of the subsystems. That is why the declaration is here, for
/// GLSLMacroProcessor, and the definition is in InstanceDataRegistry.cpp.
///
/// Private to the library; for GLSLMacroProcessor.
bool instanceDataText(const QString &planName, QString &text);

}} // namespace Orvane::Zel
