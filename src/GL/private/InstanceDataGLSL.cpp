#include "InstanceDataGLSL.h"

namespace Orvane { namespace Zel {

QString accessorName(const QString &memberName)
{
    return QStringLiteral("get%1%2").arg(memberName.left(1).toUpper(), memberName.mid(1));
}

QString accessorHead(const QString &glslType, const QString &memberName, const QString &parameters)
{
    return QStringLiteral("%1 %2(%3)").arg(glslType, accessorName(memberName), parameters);
}

QString blockName(const QString &planName)
{
    // One name for both kinds of block: the collection, which does not know the mechanism, gives it to its buffer object.
    return QStringLiteral("u_") + planName + QStringLiteral("Uniform");
}

// Two samplers over the same bytes: drivers may change the bits of integers that a float texture holds as NaNs; see
// InstanceDataRoundTripTest.TwoCollectionsOfAnyMechanismsAreReadBitByBit.
QString integerSamplerName(const QString &planName)
{
    return QStringLiteral("u_i") + planName + QStringLiteral("Sampler");
}

QString floatSamplerName(const QString &planName)
{
    return QStringLiteral("u_f") + planName + QStringLiteral("Sampler");
}

unsigned long vec4Of(unsigned long offset)
{
    return offset >> 4;
}

unsigned long componentOf(unsigned long offset)
{
    // Booleans that share 4 bytes get the same component, so that no accessor can tell them apart in a vector.
    return (offset >> 2) & 3;
}

QString tripleSwizzle(size_t numComponents)
{
    // std140 aligns three components to 16 bytes, as many as four take; the fourth is padding.
    return numComponents == 3 ? QStringLiteral(".rgb") : QString();
}

QString layoutComment(size_t size, unsigned long offset)
{
    return QStringLiteral(" // off %1 %2 (%3:%4)")
        .arg(QString::number(size), QString::number(offset), QString::number(vec4Of(offset)),
             QString::number(componentOf(offset)));
}

}} // namespace Orvane::Zel
