#include "platform/text/system_locale.h"

namespace kelvarion::platform {

// A null locale leaves the thread's as it is.
ScopedSystemLocale::ScopedSystemLocale()
    : system_(newlocale(LC_ALL_MASK, "C.UTF-8", nullptr)), before_(uselocale(system_)) {}

ScopedSystemLocale::~ScopedSystemLocale() {
  uselocale(before_);
  if (system_) freelocale(system_);
}

}  // namespace kelvarion::platform
