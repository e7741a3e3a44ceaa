#include "Bindable.h"

#include "private/ObjectMemory.h"

namespace Orvane { namespace Zel {

Bindable::~Bindable() = default;

void *Bindable::operator new(size_t size)
{
    return ObjectMemory::allocate(size);
}

void *Bindable::operator new(size_t size, const std::nothrow_t &) noexcept
{
    try {
        return ObjectMemory::allocate(size);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

void *Bindable::operator new(size_t, void *place) noexcept
{
    return place;
}

void Bindable::operator delete(void *object, size_t size) noexcept
{
    ObjectMemory::release(object, size);
}

// The language calls this one only if a constructor throws, which no class of the library does, and without the size that the
// pools need.
void Bindable::operator delete(void *object, const std::nothrow_t &) noexcept
{
    ObjectMemory::abandon(object);
}

void Bindable::operator delete(void *, void *) noexcept {}

void *Bindable::operator new(size_t size, std::align_val_t alignment)
{
    return ::operator new(size, alignment);
}

void *Bindable::operator new(size_t size, std::align_val_t alignment, const std::nothrow_t &) noexcept
{
    return ::operator new(size, alignment, std::nothrow);
}

void Bindable::operator delete(void *object, size_t, std::align_val_t alignment) noexcept
{
    ::operator delete(object, alignment);
}

void Bindable::operator delete(void *object, std::align_val_t alignment, const std::nothrow_t &) noexcept
{
    ::operator delete(object, alignment);
}

}} // namespace Orvane::Zel
