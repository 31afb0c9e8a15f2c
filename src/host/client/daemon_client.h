// Requests to the daemon of a home.
#pragma once

#include <memory>
#include <string>

#include "host/request_target.h"
#include "host/schema.h"

namespace kelvarion::host {

// Null when no daemon answers on the home's socket. A request that the daemon did not come to,
// since it was ending, throws DaemonGone. What it refuses to read, and answers that break off,
// throw WMIException; a client that it does not serve gets a reply that says so.
std::unique_ptr<RequestTarget> ConnectToDaemon(const std::string& home,
                                               std::shared_ptr<const Schema> schema);

}  // namespace kelvarion::host
