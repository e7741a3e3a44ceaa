#include "InstanceDataRegistry.h"

#include "InstanceDataPlan.h"
#include "Reporting.h"

namespace Orvane { namespace Zel {

InstanceDataRegistry *InstanceDataRegistry::Instance()
{
    static InstanceDataRegistry registry;
    return &registry;
}

InstanceDataRegistry::InstanceDataRegistry() = default;

InstanceDataRegistry::~InstanceDataRegistry()
{
    clear();
}

void InstanceDataRegistry::registerPlan(InstanceDataPlan *plan)
{
    if (plan == nullptr) {
        return;
    }
    plan->finalise();
    _plans[plan->name()] = plan;
}

InstanceDataPlan *InstanceDataRegistry::getPlan(const QString &name)
{
    if (!_plans.contains(name)) {
        ZEL_LOG_WARNING("InstanceDataRegistry::getPlan() : Specified instanceData plan does not exist : %s",
                        qPrintable(name));
    }
    return _plans[name]; // enters an unknown name as null, so that it is told once
}

void InstanceDataRegistry::clear()
{
    qDeleteAll(_plans);
    _plans.clear();
}

}} // namespace Orvane::Zel
