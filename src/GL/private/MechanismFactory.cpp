#include "../BufferTextureMechanism.h"
#include "../StorageBufferMechanism.h"
#include "../TextureMechanism.h"
#include "../UniformBufferMechanism.h"
#include "../UniformMechanism.h"

// Private to the library; for InstanceDataPlan. The function that knows all mechanisms is not in ParameterMechanism.cpp:
// plans include ParameterMechanism, mechanisms include the collection, and collections include the plan, so that all files
// of the instance data would form one cycle.

namespace Orvane { namespace Zel {

ParameterMechanism *ParameterMechanism::create(InstanceDataPlan::MechanismType type, const QString &planName)
{
    switch (type) {
    case InstanceDataPlan::eUniformMechanism:
        return new UniformMechanism(planName);
    case InstanceDataPlan::eBufferTextureMechanism:
        return new BufferTextureMechanism(planName);
    case InstanceDataPlan::eTextureMechanism:
        return new TextureMechanism(planName);
    case InstanceDataPlan::eStorageBufferMechanism:
        return new StorageBufferMechanism(planName);
    case InstanceDataPlan::eUniformBufferMechanism:
        break;
    }
    return new UniformBufferMechanism(planName);
}

}} // namespace Orvane::Zel
