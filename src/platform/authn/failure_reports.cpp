#include "platform/authn/failure_reports.h"

#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

constexpr std::uint32_t kWarning = 0x800007D4;  // The event whose text is its one string.

}  // namespace

void FailureReports::Report(const std::string& name, const std::string& client,
                            const std::string& reason, Clock::time_point now) {
  if (now - minute_ >= std::chrono::minutes(1)) {
    minute_ = now;
    reported_ = 0;
  }
  if (reported_ == kPerMinute) {
    ++unreported_;
    return;
  }
  ++reported_;
  std::string text = "The login of '" + name + "' from " + client + " failed: " + reason;
  if (unreported_ > 0)
    text += "; " + std::to_string(unreported_) + " failures before it were not recorded";
  unreported_ = 0;
  EventRecord record;
  record.source = u"Kelvarion Server 3.5";
  record.type = EventType::kWarning;
  record.category = 1;
  record.id = kWarning;
  record.strings = {Utf16ForDisplay(text)};
  log_->Report(record);
}

}  // namespace kelvarion::platform
