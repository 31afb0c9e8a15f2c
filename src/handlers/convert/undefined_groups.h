// A warning that saves an administrator from locking everybody out.
#pragma once

#include <vector>

#include "access/account.h"
#include "context/server_context.h"
#include "provider/response_sink.h"

namespace kelvarion {

// Rules and groups may name groups that do not exist yet, but the web server then refuses access to
// every repository whose rules lead to such a name: the client is told which names those are.
void WarnOfUndefinedGroups(const ServerContext& context,
                           const std::vector<access::Account>& accounts, ResponseSink& sink);

}  // namespace kelvarion
