// Versions: the text of a version is that version.
#include <algorithm>

#include "errors/exception.h"
#include "fuzz/fuzz.h"
#include "util/version.h"

using namespace kelvarion;

void kelvarion::fuzz::Target(std::string_view bytes) {
  try {
    const ProviderVersion version = util::ParseVersion(fuzz::Text(bytes));
    const bool all_given = std::min({version.minor, version.build, version.revision}) >= 0;
    if (all_given)
      fuzz::Expect(util::ParseVersion(util::FormatVersion(version)) == version, "reads the same");
  } catch (const SimpleException&) {  // Too many groups.
  }
}
