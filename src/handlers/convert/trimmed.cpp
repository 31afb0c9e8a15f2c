#include "handlers/convert/trimmed.h"

#include <algorithm>

#include "errors/exception.h"
#include "platform/text/compare.h"

namespace kelvarion {

std::u16string Trimmed(const std::u16string& text) {
  const auto first = std::ranges::find_if_not(text, platform::IsWhiteSpace);
  const auto last = std::find_if_not(text.rbegin(), text.rend(), platform::IsWhiteSpace).base();
  if (first >= last) throw WMIException(WBEM_E_INVALID_OBJECT_PATH);
  return {first, last};
}

}  // namespace kelvarion
