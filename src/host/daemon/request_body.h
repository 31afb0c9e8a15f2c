// A client's request, read from what it sent.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "host/schema.h"

namespace kelvarion::host {

// Makes the request; what the entry point returned.
using ClientRequest = std::function<HRESULT(IWbemServices&, IWbemObjectSink*)>;

// Whether there is such a kind of request; the names are those of host/wire.h.
bool IsRequestKind(std::string_view kind);

// Throws WMIException for a body that is no such request: WBEM_E_INVALID_PARAMETER for what is no
// JSON, nested too deeply or has too many or other members than it should,
// WBEM_E_INVALID_METHOD_PARAMETERS for values that do not fit the schema; ComException for an
// instance of a class that the schema does not know. The schema outlives the request.
ClientRequest ReadRequest(std::string_view kind, std::string_view body, const Schema& schema);

}  // namespace kelvarion::host
