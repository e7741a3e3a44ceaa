#include "Bindable.h"

#include "private/ObjectMemory.h"

namespace Orvane { namespace Zel {

Bindable::~Bindable() = default;

void *Bindable::operator new(size_t size)
{
    return ObjectMemory::take(size);
}

void *Bindable::operator new(size_t, void *place) noexcept
{
    return place;
}

void Bindable::operator delete(void *object, size_t size) noexcept
{
    ObjectMemory::give(object, size);
}

void Bindable::operator delete(void *, void *) noexcept {}

}} // namespace Orvane::Zel
