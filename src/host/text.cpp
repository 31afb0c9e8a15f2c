#include "host/text.h"

#include "platform/text/format.h"

namespace kelvarion::host {

std::string StatusText(HRESULT status) {
  return Utf8(Format(u"0x%8.8X", static_cast<std::uint32_t>(status)));
}

}  // namespace kelvarion::host
