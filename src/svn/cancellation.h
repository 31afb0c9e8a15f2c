// Cancelling the libraries' long operations.
#pragma once

#include <functional>
#include <string>

struct svn_error_t;

namespace kelvarion::svn {

// What a library operation asks between two units of work, and what it then fails with. Belongs to
// the thread of the operation and outlives it.
struct Cancellation {
  std::function<bool()> is_cancelled;
  std::u16string message;

  // Throws SvnException SVN_ERR_CANCELLED with the message once it is cancelled; for loops of ours.
  void Check() const;
};

// An svn_cancel_func_t whose baton is a Cancellation.
svn_error_t* CancelFunction(void* cancellation);

}  // namespace kelvarion::svn
