#pragma once

#include "Bindable.h"

#include <QtCore/QSharedPointer>

namespace Orvane { namespace Zel {

/// Binds an object during a scope, and unbinds it only if its own bind()
/// succeeded.
///
/// \snippet frame.cpp AutoBinder
///
/// Context: the context of the object.
/// Errors:  logs a null object at debug level. If bind() fails, the destructor does
///          nothing: a guard for an object that is already bound does not unbind it.
///
/// The guard stores a raw pointer. The caller must keep the object alive for longer,
/// even if it passes a shared pointer.
class ZELGL_EXPORT AutoBinder
{
    Q_DISABLE_COPY(AutoBinder)

public:
    explicit AutoBinder(Bindable *object);
    explicit AutoBinder(QSharedPointer<Bindable> object);
    ~AutoBinder();

private:
    Bindable *_bindable = nullptr;
    bool _bound = false; ///< the result of bind()
};

}} // namespace Orvane::Zel
