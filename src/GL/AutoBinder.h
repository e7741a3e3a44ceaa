#pragma once

#include "Bindable.h"

#include <QtCore/QSharedPointer>

namespace Orvane { namespace Zel {

/// Binds an object for the length of a scope, and unbinds only what it bound
/// itself.
///
/// \snippet frame.cpp AutoBinder
///
/// Context: that of the object.
/// Errors:  a null object is told at debug level; a bind() that fails leaves the
///          guard inert, so the guard of an object that is bound already neither
///          binds nor unbinds.
///
/// The guard keeps a raw pointer: the caller's reference must outlive it, in the
/// form that takes a shared pointer too.
class ZELGL_EXPORT AutoBinder
{
    Q_DISABLE_COPY(AutoBinder)

public:
    explicit AutoBinder(Bindable *object);
    explicit AutoBinder(QSharedPointer<Bindable> object);
    ~AutoBinder();

private:
    Bindable *_bindable = nullptr;
    bool _bound = false; ///< what bind() answered
};

}} // namespace Orvane::Zel
