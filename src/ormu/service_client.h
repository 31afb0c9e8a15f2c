// Requests to the replication service of a home.
#pragma once

#include <functional>
#include <string>

#include "ormu/service_wire.h"

namespace kelvarion::ormu {

// Hands the result to `read`. Waits for as long as the work takes. Throws SvnException: the
// service's, or ORMU_ERR_SERVICE_FAILED over a system error when it cannot be asked, ends before it
// answers or gives an answer for which `read` throws WireJson::exception.
void AskService(const std::string& home, const WireJson& request,
                const std::function<void(const WireJson& result)>& read);

}  // namespace kelvarion::ormu
