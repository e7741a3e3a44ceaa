#include "ParameterMechanism.h"

#include "Reporting.h"

namespace Orvane { namespace Zel {

namespace {

/// The properties of one data type, as the functions of the header name them.
struct TypeInfo
{
    const char *glsl;
    const char *padded;
    const char *vec4Storage;
    int size;
    int components;
    bool integer;
    bool useVec4Storage;
};

// In the order of DataType. All sizes are powers of two, so that members sorted by size are aligned without gaps. Booleans
// are packed to a byte each, fewer than GLSL reads.
constexpr TypeInfo kTypes[] = {
    {"ZelTextureToken", "ZelTextureToken", "uvec4", 8, 2, true, true},
    {"bool", "bool", "bvec4", 1, 1, true, true},
    {"bvec2", "bvec2", "bvec4", 2, 2, true, true},
    {"bvec3", "bvec4", "bvec4", 4, 3, true, true},
    {"bvec4", "bvec4", "bvec4", 4, 4, true, true},
    {"int", "int", "ivec4", 4, 1, true, true},
    {"ivec2", "ivec2", "ivec4", 8, 2, true, true},
    {"ivec3", "ivec4", "ivec4", 16, 3, true, true},
    {"ivec4", "ivec4", "ivec4", 16, 4, true, true},
    {"uint", "uint", "uvec4", 4, 1, true, true},
    {"uvec2", "uvec2", "uvec4", 8, 2, true, true},
    {"uvec3", "uvec4", "uvec4", 16, 3, true, true},
    {"uvec4", "uvec4", "uvec4", 16, 4, true, true},
    {"float", "float", "vec4", 4, 1, false, true},
    {"vec2", "vec2", "vec4", 8, 2, false, true},
    {"vec3", "vec4", "vec4", 16, 3, false, true},
    {"vec4", "vec4", "vec4", 16, 4, false, true},
    {"mat4", "mat4", "mat4", 64, 16, false, false},
};

/// A value outside the enumeration has the properties of a texture token, as an unknown member has.
const TypeInfo &info(InstanceDataPlan::DataType type)
{
    const unsigned int row = static_cast<unsigned int>(type);
    return kTypes[row < sizeof kTypes / sizeof *kTypes ? row : 0];
}

} // namespace

QString ParameterMechanism::glslType(DataType type)
{
    return QString::fromLatin1(info(type).glsl);
}

QString ParameterMechanism::glslPaddedType(DataType type)
{
    return QString::fromLatin1(info(type).padded);
}

QString ParameterMechanism::glslVec4StorageType(DataType type)
{
    return QString::fromLatin1(info(type).vec4Storage);
}

size_t ParameterMechanism::dataSize(DataType type)
{
    return size_t(info(type).size);
}

size_t ParameterMechanism::numberComponents(DataType type)
{
    return size_t(info(type).components);
}

bool ParameterMechanism::isIntegerType(DataType type)
{
    return info(type).integer;
}

bool ParameterMechanism::compareByDataType(const DataType &a, const DataType &b)
{
    // The type decides between equal sizes: the layout must not depend on the order of a hash, which Qt changes with each process.
    return dataSize(a) != dataSize(b) ? dataSize(a) > dataSize(b) : a > b;
}

QString ParameterMechanism::glslAccessorString(unsigned long component, unsigned long numComponents)
{
    ZEL_ASSERT((component + numComponents) <= 4, "ERROR: Accessor asking for out of range combination. %d+%d",
               int(component), int(numComponents));
    static const QString kComponents = QStringLiteral("xyzw");
    // Without a sum, which could overflow.
    if (numComponents < 1 || numComponents > 4 || component > 4 - numComponents) {
        return QString();
    }
    return QLatin1Char('.') + kComponents.midRef(int(component), int(numComponents));
}

ParameterMechanism::ParameterMechanism(const QString &planName)
    : _planName(planName)
{
}

ParameterMechanism::~ParameterMechanism() = default;

bool ParameterMechanism::useVec4Storage(DataType type)
{
    return info(type).useVec4Storage;
}

}} // namespace Orvane::Zel
