#include "StorageBufferMechanism.h"

#include "GLUtilities.h"

namespace Orvane { namespace Zel {

StorageBufferMechanism::StorageBufferMechanism(const QString &planName)
    : UniformBufferMechanism(planName, GL_SHADER_STORAGE_BUFFER)
{
}

QString StorageBufferMechanism::glslLayoutDefinition()
{
    // std140, not std430: the same layout as in the uniform block, so that one plan serves both. The size is a comment,
    // because the array is as long as the buffer.
    return QStringLiteral(
        "struct %1\n{\n%2\n};\n\nlayout (std140) buffer u_%1Uniform{\n  %1 %1s[/*%3*/];\n};");
}

}} // namespace Orvane::Zel
