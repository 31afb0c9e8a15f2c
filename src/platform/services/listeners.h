// Whether a web server that runs could take up the addresses of a changed configuration.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/services/process_identity.h"

namespace kelvarion::platform {

struct ListenAddress {
  std::string host;  // Numeric; empty for every address.
  std::uint16_t port = 0;
  friend bool operator==(const ListenAddress&, const ListenAddress&) = default;
};

// The addresses of the Listen lines of the configuration file and of those it includes by name.
std::vector<ListenAddress> ReadListenAddresses(const std::string& configuration);

enum class ListenVerdict {
  kReady,     // Each is free, or the server holds it already.
  kHeldByUs,  // One is free only once the server has let go of what it holds.
  kRefused,   // One cannot be had at all, or there is none: the server would die of either.
};

// `reason` is filled for kRefused.
ListenVerdict CheckListenAddresses(const std::vector<ListenAddress>& addresses,
                                   const ProcessIdentity& server, std::string& reason);

}  // namespace kelvarion::platform
