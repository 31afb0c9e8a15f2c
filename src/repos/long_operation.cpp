#include "repos/long_operation.h"

#include <svn_error.h>
#include <svn_error_codes.h>

namespace kelvarion::repos {

LongOperation::LongOperation(const IcCancelCallback* cancel, const char16_t* message) {
  if (cancel)
    cancellation_ = svn::Cancellation{[cancel] { return cancel->IsCancelled(); }, message};
}

svn_error_t* LongOperation::AskCancelled(void* operation) {
  auto& self = *static_cast<LongOperation*>(operation);
  if (self.callback_.failed()) return svn_error_create(SVN_ERR_CANCELLED, nullptr, nullptr);
  return self.cancellation_ ? svn::CancelFunction(&*self.cancellation_) : nullptr;
}

// What is thrown is dropped for what the notification threw.
void LongOperation::StopWhenFailed() const {
  if (callback_.failed()) svn::ThrowError(SVN_ERR_CANCELLED, u"");
}

}  // namespace kelvarion::repos
