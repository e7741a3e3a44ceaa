#pragma once

#include <QtCore/QSharedPointer>

namespace Orvane { namespace Zel {
class UniformBufferObject;
}} // namespace Orvane::Zel

namespace zeltools {

/// A new uniform buffer for the block of this name.
QSharedPointer<Orvane::Zel::UniformBufferObject> makeUniformBlock(const char *name);

/// Replaces the contents: \a count records of \a size bytes each.
bool uploadUniformBlock(const Orvane::Zel::UniformBufferObject &block, const void *records, int count,
                        unsigned long size);

} // namespace zeltools
