#pragma once

#include <QtCore/QString>

#include <cstddef>

namespace Orvane { namespace Zel {

// Names and expressions of the generated GLSL that several classes write: the plan, the mechanisms, the collection. They
// take no data type, so that plan and mechanisms do not include each other by way of this file.
//
// Context: none.
// Private to the library; for the instance data.

/// "getBaseColor" for "baseColor".
QString accessorName(const QString &memberName);
/// The head of an accessor: return type, name and parameters.
QString accessorHead(const QString &glslType, const QString &memberName, const QString &parameters);

/// The block of the uniform and storage mechanisms.
QString blockName(const QString &planName);
/// The samplers of the texture mechanisms.
QString integerSamplerName(const QString &planName);
QString floatSamplerName(const QString &planName);

/// The position of a member: the vec4 of the item that it is in, and its first component there. \a offset counts bytes.
unsigned long vec4Of(unsigned long offset);
unsigned long componentOf(unsigned long offset);
/// The swizzle that reads a member of three components from the four that it is stored in; empty for other members.
QString tripleSwizzle(size_t numComponents);
/// A GLSL comment with size and position of a member.
QString layoutComment(size_t size, unsigned long offset);

}} // namespace Orvane::Zel
