// What is said on the socket of a home's replication service.
//
// A client connects, sends one line of JSON and gets one back:
//   {"request": NAME, "name": SLAVE, …}   as far as the request needs them, all UTF-8
//   {"result": {…}}  or  {"error": [[CODE, TEXT], …]}, an error chain from the outside in
// A client that hangs up no longer wants the answer. Only the account of the service is served.
#pragma once

#include <chrono>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

struct svn_error_t;

namespace kelvarion::ormu {

using WireJson = nlohmann::ordered_json;

std::string ServiceSocketPath(const std::string& home);

WireJson ChainToJson(svn_error_t* chain);
// Never null. Throws WireJson::exception for what is no chain.
svn_error_t* ChainFromJson(const WireJson& json);

// The line without its end; false when the other end stopped before one came, or took longer than
// the patience, which a socket that does not block needs.
bool ReceiveLine(int socket, std::string& line,
                 std::optional<std::chrono::milliseconds> patience = std::nullopt);

}  // namespace kelvarion::ormu
