// The state of a service as its processes show it, whatever its record says.
#pragma once

#include "platform/services/service_manager.h"
#include "platform/services/service_record.h"

namespace kelvarion::platform {

struct ServiceState {
  ServiceStatus status;
  ServiceRecord record;
  // The service's process when it lives; a process that was started past the manager is found too.
  ProcessIdentity process;
};

// Fails when the record cannot be read.
Win32Error ObserveService(const Service& service, ServiceState& out);

// Whether the process has said, by its pid file, that it accepts requests, and takes signals too.
bool HasReported(const Service& service, const ProcessIdentity& process);

// Removes a pid file that names no living process of the service: the program would take whoever
// has that id now for itself and refuse to start.
void RemoveStalePidFile(const Service& service);

}  // namespace kelvarion::platform
