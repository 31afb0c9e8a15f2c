// Versions: the text of a version is that version.
#include <algorithm>

#include "errors/exception.h"
#include "fuzz/fuzz.h"
#include "util/version.h"

using namespace kelvarion;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const ProviderVersion version = util::ParseVersion(fuzz::Text(fuzz::Bytes(data, size)));
    const bool all_given = std::min({version.minor, version.build, version.revision}) >= 0;
    if (all_given)
      fuzz::Expect(util::ParseVersion(util::FormatVersion(version)) == version, "reads the same");
  } catch (const SimpleException&) {  // Too many groups.
  }
  return 0;
}
