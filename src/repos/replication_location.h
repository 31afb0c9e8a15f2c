// The web server's location for those who replicate.
#pragma once

#include "context/server_context.h"
#include "services/explained_request.h"

namespace kelvarion::repos {

// To be called when a repository may have become a master or was one: the location is there while
// the server has masters. A web server that runs takes a change up at once, unless other changes
// wait for its next restart: that brings this one too. The repository is what it has become in any
// case; that the web server does not know of it goes to the event log and to whoever is to be
// warned, and the next call tries again.
void UpdateReplicationLocation(const ServerContext& context, const services::Warn& warn = nullptr);

}  // namespace kelvarion::repos
