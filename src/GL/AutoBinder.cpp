#include "AutoBinder.h"

#include "Reporting.h"

namespace Orvane { namespace Zel {

AutoBinder::AutoBinder(Bindable *object)
    : _bindable(object)
{
    if (_bindable == nullptr) {
        ZEL_BARE_DEBUG("AutoBinder tried to bind NULL object");
        return;
    }
    _bound = _bindable->bind();
}

AutoBinder::AutoBinder(QSharedPointer<Bindable> object)
    : AutoBinder(object.data())
{
}

AutoBinder::~AutoBinder()
{
    if (_bound) {
        _bindable->unbind();
    }
}

}} // namespace Orvane::Zel
