#pragma once

#include "../ShaderProgram.h"

namespace Orvane { namespace Zel {

/// Identifies one link of one program: unique in the process, drawn with each successful link and each binary that loads; 0
/// when nothing is linked. What is remembered for a number is valid while the program has that number. Neither the address of
/// a program nor its GL name can serve: both are used again after a deletion.
/// Private to the library.
inline quint64 linkNumberOf(const ShaderProgram &program)
{
    return program._linkNumber;
}

}} // namespace Orvane::Zel
