#include "InstanceDataRegistry.h"

#include "InstanceDataPlan.h"
#include "Reporting.h"
#include "private/InstanceDataText.h"

namespace Orvane { namespace Zel {

InstanceDataRegistry *InstanceDataRegistry::Instance()
{
    // Constructed by the first call, which may come from the constructor of a static object of the host.
    static InstanceDataRegistry registry;
    return &registry;
}

InstanceDataRegistry::InstanceDataRegistry() = default;

InstanceDataRegistry::~InstanceDataRegistry()
{
    clear(); // needs no context, at the end of the process: plans and mechanisms own no GL objects
}

void InstanceDataRegistry::registerPlan(InstanceDataPlan *plan)
{
    if (plan == nullptr) {
        return;
    }
    plan->finalise(); // first: a shader must not find a plan whose texts are empty
    _plans[plan->name()] = plan;
}

InstanceDataPlan *InstanceDataRegistry::getPlan(const QString &name)
{
    if (!_plans.contains(name)) {
        ZEL_LOG_WARNING("InstanceDataRegistry::getPlan() : Specified instanceData plan does not exist : %s",
                        qPrintable(name));
    }
    return _plans[name]; // stores null for an unknown name, so that the warning is logged once
}

void InstanceDataRegistry::clear()
{
    qDeleteAll(_plans);
    _plans.clear();
}

bool instanceDataText(const QString &planName, QString &text)
{
    const InstanceDataPlan *plan = InstanceDataRegistry::Instance()->getPlan(planName);
    if (plan == nullptr) {
        return false;
    }
    text = plan->glslh();
    return true;
}

}} // namespace Orvane::Zel
