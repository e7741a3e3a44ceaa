#include "UniformValues.h"

#include "../GLLoader.h"
#include "../RangedValues.h"

#include <QtCore/QVarLengthArray>
#include <QtGui/QColor>
#include <QtGui/QGenericMatrix>
#include <QtGui/QMatrix4x4>
#include <QtGui/QVector2D>
#include <QtGui/QVector3D>
#include <QtGui/QVector4D>

#include <algorithm>
#include <iterator>

namespace Orvane { namespace Zel {

namespace {

template <typename Component> using TupleCall = void(APIENTRY *)(GLint, GLsizei, const Component *);

/// Sends a list as vectors; \a calls has the GL call of each tuple size.
template <typename Component>
bool setTuples(int location, const QVector<Component> &values, int tupleSize,
               const TupleCall<Component> (&calls)[4])
{
    if (location < 0) {
        return false;
    }
    if (tupleSize < 1 || tupleSize > 4) {
        return true;
    }
    if (tupleSize == 1) {
        calls[0](location, values.size(), values.constData());
        return true;
    }
    // Required: the count is the size of the list, not the number of tuples, so GL may read
    // past the list. The copy has as many components as GL may read; see ShaderProgramUniformTest.
    // AListIsSentInOneCallOfWhichTheCountIsItsSize.
    QVarLengthArray<Component, 1024> padded(values.size() * tupleSize);
    std::fill(std::copy(values.cbegin(), values.cend(), padded.begin()), padded.end(), Component(0));
    calls[tupleSize - 1](location, values.size(), padded.constData());
    return true;
}

/// Sets a uniform from a variant of a type that has no constant number in Qt.
struct NamedTypeSetter
{
    const char *typeName;
    void (*set)(int location, const QVariant &value);
};

// For another type that a host registered under the same name, value<T>() converts or returns a default T.
const NamedTypeSetter kNamedTypeSetters[] = {
    {"QMatrix3x3",
     [](int location, const QVariant &value) {
         glUniformMatrix3fv(location, 1, GL_FALSE, value.value<QMatrix3x3>().constData());
     }},
    {"QMatrix4x2",
     [](int location, const QVariant &value) {
         glUniformMatrix4x2fv(location, 1, GL_FALSE, value.value<QMatrix4x2>().constData());
     }},
    {"QMatrix2x2",
     [](int location, const QVariant &value) {
         glUniformMatrix2fv(location, 1, GL_FALSE, value.value<QMatrix2x2>().constData());
     }},
    {"Orvane::Zel::RangedFloat",
     [](int location, const QVariant &value) { glUniform1f(location, value.value<RangedFloat>().value); }},
    {"Orvane::Zel::RangedDouble",
     [](int location, const QVariant &value) {
         glUniform1f(location, static_cast<float>(value.value<RangedDouble>().value));
     }},
};

bool setByTypeName(int location, const QVariant &value)
{
    const auto setter = std::find_if(
        std::begin(kNamedTypeSetters), std::end(kNamedTypeSetters),
        [&value](const NamedTypeSetter &row) { return qstrcmp(value.typeName(), row.typeName) == 0; });
    if (setter == std::end(kNamedTypeSetters)) {
        return false;
    }
    setter->set(location, value);
    return true;
}

} // namespace

bool setUniformTuples(int location, const QVector<float> &values, int tupleSize)
{
    return setTuples<float>(location, values, tupleSize,
                            {glUniform1fv, glUniform2fv, glUniform3fv, glUniform4fv});
}

bool setUniformTuples(int location, const QVector<int> &values, int tupleSize)
{
    return setTuples<int>(location, values, tupleSize,
                          {glUniform1iv, glUniform2iv, glUniform3iv, glUniform4iv});
}

bool setUniformTuples(int location, const QVector<unsigned int> &values, int tupleSize)
{
    return setTuples<unsigned int>(location, values, tupleSize,
                                   {glUniform1uiv, glUniform2uiv, glUniform3uiv, glUniform4uiv});
}

bool setUniformValue(int location, const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::QImage: // required: an image sets 0; see AVariantSetsTheUniformByTheTypeThatItHolds
        glUniform1i(location, value.toInt());
        break;
    case QMetaType::UInt:
        glUniform1ui(location, value.toUInt());
        break;
    case QMetaType::Double:
    case QMetaType::Float:
        glUniform1f(location, value.toFloat());
        break;
    case QMetaType::QColor: {
        const auto color = value.value<QColor>();
        glUniform4f(location, static_cast<float>(color.redF()), static_cast<float>(color.greenF()),
                    static_cast<float>(color.blueF()), static_cast<float>(color.alphaF()));
        break;
    }
    case QMetaType::QVector2D: {
        const auto vector = value.value<QVector2D>();
        glUniform2f(location, vector.x(), vector.y());
        break;
    }
    case QMetaType::QVector3D: {
        const auto vector = value.value<QVector3D>();
        glUniform3f(location, vector.x(), vector.y(), vector.z());
        break;
    }
    case QMetaType::QVector4D: {
        const auto vector = value.value<QVector4D>();
        glUniform4f(location, vector.x(), vector.y(), vector.z(), vector.w());
        break;
    }
    case QMetaType::QMatrix4x4:
        glUniformMatrix4fv(location, 1, GL_FALSE, value.value<QMatrix4x4>().constData());
        break;
    default:
        return setByTypeName(location, value);
    }
    return true;
}

}} // namespace Orvane::Zel
