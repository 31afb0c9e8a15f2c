// The text that people read for a result code.
#pragma once

#include <string>

#include "platform/com/types.h"

namespace kelvarion {

// "The system cannot find the file specified. (0x80070002)"; "HRESULT 0x%8.8X" for a code that no
// message table knows.
std::u16string HresultText(HRESULT hr);

// The bare text of the system's table without the code; empty for an unknown code.
std::u16string SystemMessage(HRESULT hr);

}  // namespace kelvarion
