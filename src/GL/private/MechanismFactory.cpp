#include "../BufferTextureMechanism.h"
#include "../StorageBufferMechanism.h"
#include "../TextureMechanism.h"
#include "../UniformBufferMechanism.h"
#include "../UniformMechanism.h"

// Private to the library. The one function that knows all mechanisms is apart from ParameterMechanism.cpp, because plans include
// the base class: there, each file of the instance data would include each other.

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
