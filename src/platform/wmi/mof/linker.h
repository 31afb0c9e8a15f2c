// Brings the declarations of all files together into complete classes.
#pragma once

#include <map>

#include "platform/wmi/definition.h"
#include "platform/wmi/mof/declarations.h"

namespace kelvarion::platform::wmi::mof {

// By the names in lower case.
using Classes = std::map<std::u16string, std::shared_ptr<ClassDefinition>>;

// Throws CompileError for names that are unknown or declared twice, values that are not of their
// type, and what contradicts the superclass. Declared instances are checked but not kept: a
// namespace holds classes.
Classes Link(const Schema& schema);

}  // namespace kelvarion::platform::wmi::mof
