#pragma once

#include "Export.h"

#include <QtCore/QHash>
#include <QtCore/QString>

namespace Orvane { namespace Zel {

class InstanceDataPlan;

/// The process-wide table of finalised plans, by name. The line
/// `#instancedata "Name"` of a shader includes the declarations of the plan "Name".
///
/// The registry owns its plans. Items and collections borrow them: delete these
/// before clear().
///
/// \snippet instance_data.cpp InstanceDataRegistry
///
/// Units:   none.
/// Context: required by registerPlan(), which finalises.
/// Errors:  getPlan() logs a warning and returns null for an unknown name. Later
///          calls with the same name return null without a warning.
class ZELGL_EXPORT InstanceDataRegistry
{
    Q_DISABLE_COPY(InstanceDataRegistry)

public:
    static InstanceDataRegistry *Instance();

    /// Finalises the plan and takes ownership of it. A registered plan of the same name is replaced but not deleted, because
    /// collections may still use it; the caller owns it again.
    void registerPlan(InstanceDataPlan *plan);
    InstanceDataPlan *getPlan(const QString &name);
    /// Deletes all plans.
    void clear();

private:
    ZELGL_NO_EXPORT InstanceDataRegistry();
    ZELGL_NO_EXPORT ~InstanceDataRegistry();

    QHash<QString, InstanceDataPlan *> _plans; ///< null for unknown names that were looked up
};

}} // namespace Orvane::Zel
