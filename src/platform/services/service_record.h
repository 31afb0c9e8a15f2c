// What is kept on disk about a service, so that it outlives whoever started it.
//
// Readers take no lock: the file is replaced by rename. Writers hold the service's lock.
#pragma once

#include <string>

#include "platform/com/types.h"
#include "platform/services/process_identity.h"
#include "platform/services/service.h"

namespace kelvarion::platform {

enum class Phase { kStopped, kStarting, kRunning, kRestarting, kStopping };

struct ServiceRecord {
  Phase phase = Phase::kStopped;
  Win32Error exit_code = 0;  // Of the last run, once the phase is kStopped.
  ProcessIdentity supervisor;
  ProcessIdentity process;
  friend bool operator==(const ServiceRecord&, const ServiceRecord&) = default;
};

// A service that was never started, or whose record makes no sense, is stopped.
Win32Error ReadRecord(const Service& service, ServiceRecord& out);
Win32Error WriteRecord(const Service& service, const ServiceRecord& record);

// The text that people read after a failure; an empty one removes it.
void WriteFailure(const Service& service, const std::string& text);
std::string ReadFailure(const Service& service);

// A small private file, replaced whole.
Win32Error ReplaceSmallFile(const std::string& path, const std::string& text);
std::string ReadSmallFile(const std::string& path);

}  // namespace kelvarion::platform
