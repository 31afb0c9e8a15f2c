#include "platform/authn/failure_reports.h"

#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

constexpr std::uint32_t kWarning = 0x800007D4;  // The event whose text is its one string.

}  // namespace

void FailureReports::Report(const std::string& name, const std::string& client,
                            const std::string& reason, Clock::time_point now) {
  if (!limit_.Allows(now)) return;
  std::string text = "The login of '" + name + "' from " + client + " failed: " + reason;
  if (const int unreported = limit_.TakeUnreported(); unreported > 0)
    text += "; " + std::to_string(unreported) + " failures before it were not recorded";
  EventRecord record;
  record.source = u"Kelvarion Server 3.5";
  record.type = EventType::kWarning;
  record.category = 1;
  record.id = kWarning;
  record.strings = {Utf16ForDisplay(text)};
  log_->Report(record);
}

}  // namespace kelvarion::platform
