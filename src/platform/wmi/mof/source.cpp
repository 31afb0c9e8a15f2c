#include "platform/wmi/mof/source.h"

#include "platform/text/encoding.h"

namespace kelvarion::platform::wmi::mof {

void Fail(const Location& where, std::u16string_view found, std::u16string_view expected) {
  throw CompileError{*where.file + ":" + std::to_string(where.line) + ": found " +
                     Utf8ForDisplay(found) + ", expected " + Utf8ForDisplay(expected)};
}

std::u16string ToText(const Location& where) {
  return Utf16ForDisplay(*where.file + ":" + std::to_string(where.line));
}

}  // namespace kelvarion::platform::wmi::mof
