#pragma once

#include "UniformBufferMechanism.h"

namespace Orvane { namespace Zel {

/// Instance data as an unsized array of structures in one storage block of layout
/// std140, for more items than a uniform block can hold.
///
/// \snippet instance_data.cpp StorageBufferMechanism
///
/// Units:   bytes.
/// Context: as its base. InstanceDataPlan::supportsStorageMechanism() must be true.
/// Errors:  as its base.
class ZELGL_EXPORT StorageBufferMechanism : public UniformBufferMechanism
{
public:
    explicit StorageBufferMechanism(const QString &planName);

    QString glslLayoutDefinition() override;
};

}} // namespace Orvane::Zel
