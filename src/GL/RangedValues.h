#pragma once

/// \file
/// Numbers with their range, for editable parameters of a host:
/// ShaderProgram::setUniform() sets a uniform to the current value of one in a
/// QVariant. It recognises the types by their names, which Qt's meta-type system
/// registers on first use.
///
/// \snippet shaders.cpp RangedValues

#include <QtCore/QMetaType>

namespace Orvane { namespace Zel {

struct RangedFloat
{
    float value = 0.0F; ///< current value; the library reads nothing else
    float minimum = 0.0F;
    float maximum = 0.0F;
};

struct RangedDouble
{
    double value = 0.0; ///< current value; the library reads nothing else
    double minimum = 0.0;
    double maximum = 0.0;
};

}} // namespace Orvane::Zel

Q_DECLARE_METATYPE(Orvane::Zel::RangedFloat)
Q_DECLARE_METATYPE(Orvane::Zel::RangedDouble)
