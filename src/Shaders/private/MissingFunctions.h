#pragma once

#include "../FunctionIndex.h"
#include "../ShaderReport.h"

namespace Orvane { namespace ZelShaders {

/// Functions that no stage defines, and that one file of the library has.
struct MissingFunctions
{
    const ShaderReport::Stage *stage; ///< of the first call; null if no stage calls them
    int line;                         ///< of the first call, in the expanded text
    QStringList names;
    QString advice; ///< of linkAdvice()

    /// "a()", "a() and b()", or "a(), b(), c() and 4 more".
    QString namesInWords() const;
};

/// Groups functions by stage and by advice. A function that no stage calls has a group without a stage.
QVector<MissingFunctions> groupMissing(const QStringList &functions,
                                       const QVector<ShaderReport::Stage> &stages,
                                       const FunctionIndex &index);

/// A function that a stage declares and calls.
struct UndefinedFunction
{
    QString name;
    LineMap::Origin declaredAt; ///< its first prototype
};

/// The functions that stages call and declare, but that none of them defines, in the order of their calls. Conditions of
/// the preprocessor count.
QVector<UndefinedFunction> undefinedFunctions(const QVector<ShaderReport::Stage> &stages);

/// The functions that a text defines. Conditions of the preprocessor count.
QStringList definedFunctions(const LineMap &map);

}} // namespace Orvane::ZelShaders
