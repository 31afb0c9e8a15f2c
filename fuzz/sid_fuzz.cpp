// SIDs: the canonical text of a SID is that SID.
#include "fuzz/fuzz.h"
#include "platform/security/sid.h"

using namespace kelvarion;

void kelvarion::fuzz::Target(std::string_view bytes) {
  const auto sid = platform::ParseSid(fuzz::Text(bytes));
  if (sid) fuzz::Expect(platform::ParseSid(platform::ToText(*sid)) == sid, "the text is the SID's");
}
