// SIDs: the canonical text of a SID is that SID.
#include "fuzz/fuzz.h"
#include "platform/security/sid.h"

using namespace kelvarion;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto sid = platform::ParseSid(fuzz::Text(fuzz::Bytes(data, size)));
  if (sid) fuzz::Expect(platform::ParseSid(platform::ToText(*sid)) == sid, "the text is the SID's");
  return 0;
}
