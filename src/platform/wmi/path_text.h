// Object paths between text and parts: [\\server\][namespace:]Class[.Key=value,…|=value|=@].
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/wmi/interfaces.h"

namespace kelvarion::platform::wmi {

struct PathKey {
  std::u16string name;  // empty for the one key that is given without a name
  CIMTYPE type = CIM_STRING;
  // VT_BSTR for text and 64-bit integers, VT_I4 for other integers, VT_BOOL.
  Variant value;
};

struct PathParts {
  // What stands before the class as it was written, "\\server\root\ns:" or "ns:"; may be empty.
  std::u16string scope;
  std::u16string class_name;
  bool singleton = false;
  std::vector<PathKey> keys;
};

// Nothing for a text that is no path. Values are integers, TRUE and FALSE, or quoted text in which
// \" and \\ stand for " and \. Blanks between the parts are ignored.
std::optional<PathParts> ParsePath(std::u16string_view text);

// The canonical text: no blanks, text in double quotes, words in capitals, integers decimal.
std::u16string FormatPath(const PathParts& path);

// Letters, digits and underscores, with no digit first.
bool IsClassName(std::u16string_view name);

}  // namespace kelvarion::platform::wmi
