// A warning that saves an administrator from locking everybody out.
#pragma once

#include <vector>

#include "access/account.h"
#include "context/server_context.h"
#include "provider/response_sink.h"

namespace kelvarion {

enum class NamedIn {
  kRules,   // The web server then refuses access to their repository.
  kMembers  // The web server then cannot read the groups file: it refuses access to everything.
};

// Rules and groups may name groups that do not exist yet; the client is told which those are.
void WarnOfUndefinedGroups(const ServerContext& context, NamedIn place,
                           const std::vector<access::Account>& accounts, ResponseSink& sink);

}  // namespace kelvarion
