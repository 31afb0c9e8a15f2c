// Literals as values of a declared type.
#pragma once

#include "platform/wmi/mof/declarations.h"

namespace kelvarion::platform::wmi::mof {

// The stored form of the value, VT_NULL for an alias. Throws CompileError when the literals are not
// of the type, when one does not fit into it, or when a list stands for a single value or
// conversely.
Variant Evaluate(const Initializer& initializer, CIMTYPE type);

}  // namespace kelvarion::platform::wmi::mof
