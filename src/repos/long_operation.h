// One call of a library that runs long: whom it asks whether to go on, and what it tells.
#pragma once

#include <optional>
#include <string>

#include "context/cancel_callback.h"
#include "svn/cancellation.h"
#include "svn/error.h"

namespace kelvarion::repos {

inline constexpr const char16_t* kVerificationCancelled =
    u"The repository verification has been cancelled.";
inline constexpr const char16_t* kImportCancelled = u"Repository import has been cancelled.";
inline constexpr const char16_t* kMasterImportCancelled =
    u"The repository creation has been cancelled.";
inline constexpr const char16_t* kSeedExportCancelled =
    u"Export of replication seed has been cancelled.";

// Carries the request's wish to cancel into the library and exceptions of notifications out of it,
// although the library's notifications cannot fail. Used by the thread of the call.
class LongOperation {
 public:
  // Without a callback only a failed notification ends the operation.
  LongOperation(const IcCancelCallback* cancel, const char16_t* message);

  // The library's cancel function; its baton is the operation.
  static svn_error_t* AskCancelled(void* operation);
  // Runs the body of a notification. Once one failed no other runs.
  template <class Body>
  void Notify(Body&& body) {
    if (!callback_.failed()) svn::Ignore(callback_.Run(body));  // Kept; the call ends with it.
  }
  // The same for callbacks that can fail: throws once the operation is to end.
  template <class Body>
  void Step(Body&& body) {
    Notify([&] {
      Check();
      body();
    });
    StopWhenFailed();
  }
  // For the result of the library's call: throws what a notification threw, else the error.
  void CheckAfter(svn_error_t* error) { callback_.CheckAfter(error); }
  // Throws SvnException when cancelled; for steps of ours.
  void Check() const {
    if (cancellation_) cancellation_->Check();
  }

 private:
  void StopWhenFailed() const;

  std::optional<svn::Cancellation> cancellation_;
  svn::Callback callback_;
};

}  // namespace kelvarion::repos
