// One request over HTTP, answered in lines.
#pragma once

#include <functional>
#include <string>

#include "host/argument.h"

namespace kelvarion::host {

// Sends the request on the connected socket and hands each line of the answer to `line` as it
// comes. Throws WMIException WBEM_E_TRANSPORT_FAILURE for an answer that breaks off or is none.
// What `line` throws is passed on; the connection is then of no more use.
void Exchange(int socket, const std::string& target, const std::string& body,
              const std::function<void(const Json&)>& line);

}  // namespace kelvarion::host
