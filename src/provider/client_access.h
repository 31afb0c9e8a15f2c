// The check that every request passes first: is there a client that the provider may act for?
#pragma once

#include <utility>

#include "provider/events.h"

namespace kelvarion {

// The thread acts for its client until this ends.
class Impersonation {
 public:
  Impersonation() = default;
  Impersonation(Impersonation&& other) noexcept : active_(std::exchange(other.active_, false)) {}
  Impersonation& operator=(Impersonation&& other) noexcept {
    std::swap(active_, other.active_);
    return *this;
  }
  ~Impersonation();

  // The client's HRESULT on failure; nothing to revert then.
  HRESULT Begin();

 private:
  bool active_ = false;
};

// Starts acting for the client. WBEM_E_ACCESS_DENIED for a client that may only be identified; a
// failure to find out is that failure's HRESULT. Both are recorded in the event log.
HRESULT CheckClientAccess(EventRecorder& events, Impersonation& impersonation);

}  // namespace kelvarion
