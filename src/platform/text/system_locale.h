// The locale that a thread's calls into the C library follow.
#pragma once

#include <locale.h>

namespace kelvarion::platform {

// While it lives, the thread works in the system's own locale, whatever the host of the thread or
// the environment says: ASCII rules for numbers and letters, UTF-8 for text. For one thread.
class ScopedSystemLocale {
 public:
  ScopedSystemLocale();
  ~ScopedSystemLocale();
  ScopedSystemLocale(const ScopedSystemLocale&) = delete;
  ScopedSystemLocale& operator=(const ScopedSystemLocale&) = delete;

 private:
  locale_t system_;
  locale_t before_;
};

}  // namespace kelvarion::platform
