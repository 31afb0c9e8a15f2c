// The declarations of one schema file.
#pragma once

#include "platform/wmi/mof/declarations.h"

namespace kelvarion::platform::wmi::mof {

// Adds what the text declares to the schema. Throws CompileError; the schema is then incomplete.
void Parse(std::u16string_view source, const Location& start, Schema& schema);

}  // namespace kelvarion::platform::wmi::mof
