#include "InstanceDataRegistry.h"

#include "InstanceDataPlan.h"
#include "Reporting.h"
#include "private/InstanceDataText.h"

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
