// Starting, stopping and restarting the web server to the end: on return it is known what came of
// it.
//
// A server that fails is an exception with the server's own words. So is one that needs more than a
// minute; it goes on all the same. What is cancelled throws WMIException WBEM_E_CALL_CANCELLED and
// goes on, too.
#pragma once

#include "context/cancel_callback.h"
#include "platform/services/service_manager.h"

namespace kelvarion::services {

// Both false, and nothing is done, when the server runs or is stopped already.
bool StartServerAndWait(platform::ServiceManager& manager, const IcCancelCallback& cancel);
bool StopServerAndWait(platform::ServiceManager& manager, const IcCancelCallback& cancel);
// Waits until the server has taken its configuration up; starts one that is stopped. A server that
// refuses the configuration serves on with the old one.
void RestartServerAndWait(platform::ServiceManager& manager, const IcCancelCallback& cancel);

}  // namespace kelvarion::services
