// How a long operation learns that its client no longer wants it.
#pragma once

namespace kelvarion {

// Asked between units of work, from the thread of the operation; any thread may cause the answer.
class IcCancelCallback {
 public:
  virtual ~IcCancelCallback() = default;
  virtual bool IsCancelled() const = 0;
};

}  // namespace kelvarion
