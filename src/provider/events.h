// The provider's records in the event log.
#pragma once

#include <cstdint>
#include <memory>

#include "config/configuration.h"
#include "context/event_logger.h"
#include "platform/event_log/event_log.h"

namespace kelvarion {

inline constexpr const char16_t* kProviderEventSource = u"Kelvarion Server 3.5";
inline constexpr const char16_t* kManagementEventSource = u"Kelvarion Server Management";

// Identifiers of the records; the texts that people read for them are the host's.
inline constexpr std::uint32_t kEventException = 0xC00007D0;
inline constexpr std::uint32_t kEventUnknownException = 0xC00007D1;
inline constexpr std::uint32_t kEventAccessDenied = 0xC00007D2;
inline constexpr std::uint32_t kEventImpersonationFailure = 0xC00007D3;
inline constexpr std::uint32_t kEventWarning = 0x800007D4;
inline constexpr std::uint32_t kEventReportFailure = 0xC00007D5;
inline constexpr std::uint32_t kEventPermissionsChanged = 2006;
inline constexpr std::uint32_t kEventPermissionsReset = 2007;
inline constexpr std::uint32_t kEventGlobalPermissionsChanged = 2008;

// Records carry the client's SID while the thread impersonates one. Failures and warnings are
// written only at log level 1 or above, which is read for each record; a level that cannot be read
// counts as 1. Safe from any thread.
class EventRecorder : public IcEventLogger {
 public:
  // Both outlive the recorder. The configuration is a reference to the owner's pointer, since the
  // owner may exchange it before it serves requests.
  EventRecorder(platform::EventLog& log, const std::shared_ptr<IcRegistryAccessor>& configuration)
      : log_(log), configuration_(configuration) {}

  void LogException(const Exception& exception) override;
  void LogUnknownException() override;
  void LogWarning(const std::u16string& text) override;
  Win32Error LogRepositoryPermissionsChanged(const std::u16string& repository,
                                             const std::u16string& path,
                                             const std::u16string& old_description,
                                             const std::u16string& new_description,
                                             bool reset_children) override;
  Win32Error LogGlobalPermissionsChanged(const std::u16string& old_description,
                                         const std::u16string& new_description) override;
  void LogReportFailure(const std::u16string& text) override;

  // A client whose impersonation level does not let the provider act for it.
  void LogAccessDenied();
  void LogImpersonationFailure(HRESULT hr);

 private:
  enum class User { kClient, kNone };
  bool Enabled() const;
  Win32Error Report(const char16_t* source, platform::EventType type, std::uint32_t id,
                    std::vector<std::u16string> strings, User user = User::kClient);

  platform::EventLog& log_;
  const std::shared_ptr<IcRegistryAccessor>& configuration_;
};

}  // namespace kelvarion
