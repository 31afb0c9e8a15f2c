#include "svn/cancellation.h"

#include <svn_error.h>

#include "svn/error.h"
#include "svn/text.h"

namespace kelvarion::svn {

svn_error_t* CancelFunction(void* cancellation) {
  const auto& baton = *static_cast<const Cancellation*>(cancellation);
  if (!baton.is_cancelled()) return nullptr;
  return svn_error_create(SVN_ERR_CANCELLED, nullptr, Utf8(baton.message).c_str());
}

void Cancellation::Check() const {
  if (is_cancelled()) ThrowError(SVN_ERR_CANCELLED, message);
}

}  // namespace kelvarion::svn
