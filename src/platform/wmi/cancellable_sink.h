// How a request asks whether its client still wants it.
#pragma once

#include "platform/com/unknown.h"

namespace kelvarion {

// What a sink offers besides whose host knows when its client is gone or has had enough. Asked
// between units of work, it also stops what has no progress to report.
class IcCancellableSink : public IUnknown {
 public:
  static constexpr Guid kIid{
      0x5D1F7B3E, 0x2C46, 0x4A8F, {0x9B, 0x07, 0xC3, 0x61, 0x5E, 0xD2, 0x84, 0x1A}};

  // One way: what is cancelled stays so. Safe from any thread.
  virtual bool IsCancelled() const = 0;

 protected:
  ~IcCancellableSink() = default;
};

}  // namespace kelvarion
