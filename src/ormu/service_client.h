// Requests to the replication service of a home.
#pragma once

#include <string>

#include "ormu/service_wire.h"

namespace kelvarion::ormu {

// The result. Waits for as long as the work takes. Throws SvnException: the service's, or
// ORMU_ERR_SERVICE_FAILED over a system error when it cannot be asked or ends before it answers.
WireJson AskService(const std::string& home, const WireJson& request);

}  // namespace kelvarion::ormu
