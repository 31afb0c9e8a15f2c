#include "provider/events.h"

#include "errors/hresult_text.h"
#include "platform/com/class_object.h"

namespace kelvarion {
namespace {

using platform::EventType;

// Unlike the texts that clients read, the log's form of an unknown code is in lower case.
std::u16string FailureText(HRESULT hr) {
  std::u16string text = SystemMessage(hr);
  while (!text.empty() && (text.back() == u'\r' || text.back() == u'\n')) text.pop_back();
  return text.empty() ? Format(u"HRESULT 0x%8.8x", hr) : text;
}

}  // namespace

void EventRecorder::LogException(const Exception& exception) {
  if (Enabled())
    Report(kProviderEventSource, EventType::kError, kEventException, {exception.Message()});
}

void EventRecorder::LogUnknownException() {
  if (Enabled()) Report(kProviderEventSource, EventType::kError, kEventUnknownException, {});
}

void EventRecorder::LogWarning(const std::u16string& text) {
  if (Enabled()) Report(kProviderEventSource, EventType::kWarning, kEventWarning, {text});
}

Win32Error EventRecorder::LogRepositoryPermissionsChanged(const std::u16string& repository,
                                                          const std::u16string& path,
                                                          const std::u16string& old_description,
                                                          const std::u16string& new_description,
                                                          bool reset_children) {
  return Report(kManagementEventSource, EventType::kInformation,
                reset_children ? kEventPermissionsReset : kEventPermissionsChanged,
                {repository, path, old_description, new_description});
}

Win32Error EventRecorder::LogGlobalPermissionsChanged(const std::u16string& old_description,
                                                      const std::u16string& new_description) {
  return Report(kManagementEventSource, EventType::kInformation, kEventGlobalPermissionsChanged,
                {old_description, new_description});
}

void EventRecorder::LogReportFailure(const std::u16string& text) {
  Report(kManagementEventSource, EventType::kInformation, kEventReportFailure, {text});
}

void EventRecorder::LogAccessDenied() {
  if (Enabled())
    Report(kProviderEventSource, EventType::kError, kEventAccessDenied, {}, User::kNone);
}

void EventRecorder::LogImpersonationFailure(HRESULT hr) {
  if (Enabled())
    Report(kProviderEventSource, EventType::kError, kEventImpersonationFailure, {FailureText(hr)},
           User::kNone);
}

bool EventRecorder::Enabled() const {
  try {
    return configuration_->GetWmiProviderLogLevel() >= 1;
  } catch (const Exception&) {
    // Logging never changes the outcome of a request, and a damaged setting must not silence it.
    return true;
  }
}

Win32Error EventRecorder::Report(const char16_t* source, EventType type, std::uint32_t id,
                                 std::vector<std::u16string> strings, User user) {
  platform::EventRecord record;
  record.source = source;
  record.type = type;
  record.category = 1;
  record.id = id;
  record.strings = std::move(strings);
  const ClientToken* token = nullptr;
  if (user == User::kClient && OpenThreadToken(token) == ERROR_SUCCESS)
    record.user_sid = token->user_sid;
  return log_.Report(record);
}

}  // namespace kelvarion
