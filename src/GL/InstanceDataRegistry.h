#pragma once

#include "Export.h"

#include <QtCore/QHash>
#include <QtCore/QString>

namespace Orvane { namespace Zel {

class InstanceDataPlan;

/// The process-wide table of finalised plans, by name. It is where the line
/// `#instancedata "Name"` of a shader finds its text.
///
/// Units:   none.
/// Context: registerPlan() needs one, since it finalises.
/// Errors:  an unknown name is a warning at the first asking, and null.
/// Source:  -
///
/// The registry owns the plans that stand in it. Collections only borrow them: no
/// plan may be deleted before the collections that use it.
class ZELGL_EXPORT InstanceDataRegistry
{
    Q_DISABLE_COPY(InstanceDataRegistry)

public:
    static InstanceDataRegistry *Instance();

    /// Finalises the plan and takes it. A plan of the same name is replaced and
    /// left to whoever still holds it.
    void registerPlan(InstanceDataPlan *plan);
    InstanceDataPlan *getPlan(const QString &name);
    /// Deletes all plans.
    void clear();

private:
    ZELGL_NO_EXPORT InstanceDataRegistry();
    ZELGL_NO_EXPORT ~InstanceDataRegistry();

    QHash<QString, InstanceDataPlan *> _plans; ///< null for names that were asked for in vain
};

}} // namespace Orvane::Zel
