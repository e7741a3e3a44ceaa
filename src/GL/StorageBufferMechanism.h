#pragma once

#include "UniformBufferMechanism.h"

namespace Orvane { namespace Zel {

/// Instance data as an unsized array of structures in one storage block: the form
/// for more items than a uniform block holds.
///
/// \snippet instance_data.cpp StorageBufferMechanism
///
/// Units:   bytes.
/// Context: one with InstanceDataPlan::supportsStorageMechanism().
/// Errors:  as its base.
/// Source:  OpenGL 4.3 storage buffers, std140 layout.
class ZELGL_EXPORT StorageBufferMechanism : public UniformBufferMechanism
{
public:
    explicit StorageBufferMechanism(const QString &planName);

    QString glslLayoutDefinition() override;
};

}} // namespace Orvane::Zel
