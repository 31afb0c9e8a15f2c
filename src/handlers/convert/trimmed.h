// Names and paths as clients pad them.
#pragma once

#include <string>

namespace kelvarion {

// The text without the blanks around it. WMIException WBEM_E_INVALID_OBJECT_PATH when nothing is
// left.
std::u16string Trimmed(const std::u16string& text);

}  // namespace kelvarion
