// What kelvariond and its clients have to agree on; docs/wire-format.md tells it to the authors of
// other clients.
#pragma once

#include <string>

#include "host/argument.h"
#include "host/reply.h"

namespace kelvarion::host {

inline constexpr const char* kTargetPrefix = "/v1/";
inline constexpr const char* kRequestMediaType = "application/json";
inline constexpr const char* kAnswerMediaType = "application/x-ndjson";

// The kinds of request, as they follow the prefix.
inline constexpr const char* kGet = "get";
inline constexpr const char* kPut = "put";
inline constexpr const char* kDelete = "delete";
inline constexpr const char* kEnumerate = "enumerate";
inline constexpr const char* kCall = "call";

// The daemon's socket in a home; paths are UTF-8.
std::string SocketPath(const std::string& home);

// The last line of an answer. The error is null or an object.
Json StatusLine(HRESULT status, const Json& error);

// The context's values by name; null without a context.
Json ContextToJson(IWbemContext* context);
// The other way; null for null. Throws WMIException for values that no context carries.
ComPtr<IWbemContext> ContextFromJson(const Json& json);

Progress ProgressFromJson(const Json& json);

// The members of an object as named values. Throws WMIException for a name that comes twice (names
// compare ignoring case).
std::vector<Argument> ArgumentsFromJson(const Json& object);

}  // namespace kelvarion::host
