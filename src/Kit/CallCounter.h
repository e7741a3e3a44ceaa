#pragma once

#include "KitExport.h"

#include <QtCore/QtGlobal>

namespace Orvane { namespace ZelKit {

/// Numbers of GL calls in an interval.
struct CallCounts
{
    qint64 all = 0;
    qint64 stateChanges = 0; ///< calls that bind, enable or set state of later draws, without uniforms
    qint64 redundant = 0;    ///< state changes that set the value that the state has already
};

/// While it exists, counts the GL calls that frames make through the library's table of entry points. Queries and settings that
/// frames do not need are not counted, nor are entry points that the library's classes look up themselves, those newer than
/// OpenGL 3.2.
///
/// It does not know the state at its start: the first change of each kind is never redundant.
///
/// \snippet kit.cpp CallCounter
///
/// - Units: numbers of calls.
/// - Context: any, none included. Create and delete while no other thread makes GL calls.
/// - Errors: only one can exist at a time; another one logs a warning, and counts nothing.
class ZELKIT_EXPORT CallCounter
{
    Q_DISABLE_COPY(CallCounter)

public:
    CallCounter();
    ~CallCounter();

    CallCounts counts() const;

private:
    bool _isCounting;
};

}} // namespace Orvane::ZelKit
