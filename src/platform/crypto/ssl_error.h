// Why OpenSSL could not do something.
#pragma once

#include <string>

namespace kelvarion::platform {

// True when something failed. The reasons are what the thread's error queue held, in OpenSSL's own
// words and oldest first; there may be none.
struct [[nodiscard]] SslError {
  bool failed = false;
  std::u16string reasons;
  explicit operator bool() const { return failed; }
};

// A failure with all that the queue of this thread holds, which is empty afterwards.
SslError TakeSslError();

}  // namespace kelvarion::platform
