// One request over HTTP, answered in lines.
#pragma once

#include <functional>
#include <string>

#include "errors/exception.h"
#include "host/argument.h"

namespace kelvarion::host {

// Nobody has read the request to its end, so it was not carried out and may be made elsewhere.
class DaemonGone final : public WMIException {
 public:
  DaemonGone() : WMIException(WBEM_E_TRANSPORT_FAILURE, u"The daemon does not answer any more") {}
};

// Sends the request on the connected socket and hands each line of the answer to `line` as it
// comes. Throws DaemonGone, or WMIException WBEM_E_TRANSPORT_FAILURE for an answer that breaks off
// or is none when the request may have been carried out.
// What `line` throws is passed on; the connection is then of no more use.
void Exchange(int socket, const std::string& target, const std::string& body,
              const std::function<void(const Json&)>& line);

}  // namespace kelvarion::host
