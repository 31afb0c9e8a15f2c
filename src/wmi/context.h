// The values that a client sends along with a request.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/wmi/interfaces.h"

namespace kelvarion {

// Nothing when the context is null or has no such value. ComException WBEM_E_TYPE_MISMATCH when the
// value has another type, "Cannot get value '%s'" when it cannot be read.
std::optional<std::u16string> ContextText(IWbemContext* context, const std::u16string& name);
std::optional<std::vector<std::u16string>> ContextTexts(IWbemContext* context,
                                                        const std::u16string& name);

}  // namespace kelvarion
