// How the domain reports to the event log.
#pragma once

#include <string>

#include "errors/exception.h"

namespace kelvarion {

// Implemented by the provider. Never throws and never changes the outcome of a request; safe from
// any thread. Permission changes are recorded whatever the log level.
class IcEventLogger {
 public:
  virtual void LogException(const Exception& exception) = 0;
  virtual void LogUnknownException() = 0;
  virtual void LogWarning(const std::u16string& text) = 0;
  // Both return 0 or the Win32 error of the report.
  virtual Win32Error LogRepositoryPermissionsChanged(const std::u16string& repository,
                                                     const std::u16string& path,
                                                     const std::u16string& old_description,
                                                     const std::u16string& new_description,
                                                     bool reset_children) = 0;
  virtual Win32Error LogGlobalPermissionsChanged(const std::u16string& old_description,
                                                 const std::u16string& new_description) = 0;
  virtual void LogReportFailure(const std::u16string& text) = 0;

 protected:
  ~IcEventLogger() = default;
};

}  // namespace kelvarion
