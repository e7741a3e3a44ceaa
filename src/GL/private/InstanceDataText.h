#pragma once

class QString;

namespace Orvane { namespace Zel {

/// Writes the GLSL declarations of the plan \a planName to \a text. Returns false for an unknown name, which the registry
/// reports. Declared here because the text processor makes the call, defined in InstanceDataRegistry.cpp, so that shaders need
/// no header of the instance data.
///
/// Private to the library.
bool instanceDataText(const QString &planName, QString &text);

}} // namespace Orvane::Zel
