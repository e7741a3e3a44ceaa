#pragma once

#include "FunctionIndex.h"
#include "LineMap.h"

namespace Orvane { namespace ZelShaders {

/// Finds mistakes in shaders before a driver sees them, without a context.
///
/// - errors: includes that no folder has, endless includes, unknown plans, names in an `#if` that are not defined there,
///   an `#if` without an `#endif` and the reverse;
/// - warnings: directives that the text processor passes on (indented, or with further text), a file without an include guard
///   that is included twice, a function that is declared and called but that no file of its stage defines;
/// - notes: macros that are not registered, so that their default is used.
///
/// \snippet diagnosis.cpp ShaderLint
///
/// Units:   lines count from 1.
/// Context: none; any thread.
/// Errors:  findings are returned, not logged.
class ZELSHADERS_EXPORT ShaderLint
{
public:
    enum Severity { eNote, eWarning, eError };

    struct Finding
    {
        Severity severity;
        LineMap::Origin at;
        QString text;

        /// "file:9: error: text".
        ZELSHADERS_EXPORT QString toString() const;
    };

    /// The findings in one stage, in the order of its text.
    static QVector<Finding> lint(const LineMap &map);
    /// The functions that the texts of one stage call and declare but that none of them defines. \a stage is a GL stage;
    /// 0 if it is unknown.
    static QVector<Finding> lintStage(const QVector<LineMap> &texts, unsigned int stage,
                                      const FunctionIndex &index = FunctionIndex::library());
};

}} // namespace Orvane::ZelShaders
