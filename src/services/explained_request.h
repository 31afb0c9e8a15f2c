// Requests to a service whose failures come with the service's own words.
//
// What the service said when it failed (its last output, the end of its log) goes to the event log
// and to whoever asked; a service that said nothing leaves both alone.
#pragma once

#include <functional>
#include <string>

#include "context/server_context.h"

namespace kelvarion::services {

using Warn = std::function<void(const std::u16string& text)>;
using Request = std::function<void(platform::ServiceManager& manager)>;

// Runs the request; its failure is explained and passes on.
void RunExplained(const ServerContext& context, const std::u16string& service, const Warn& warn,
                  const Request& request);

// The same for a request that brings the service up. Such a request is accepted before the service
// runs; most that goes wrong then (an address in use, a bad certificate) does so at once. So the
// service is watched for some moments, and a failure is explained, which makes the request none
// that failed.
void RunExplainedStart(const ServerContext& context, const std::u16string& service,
                       const Warn& warn, const Request& request);

}  // namespace kelvarion::services
