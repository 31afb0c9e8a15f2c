#include "platform/services/listeners.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <sstream>

#include "platform/network/network.h"
#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

constexpr int kIncludeDepth = 4;

struct Row {
  ListenAddress address;
  bool ours = false;
};

bool NameIs(const std::string& word, const char* name) {
  return strcasecmp(word.c_str(), name) == 0;
}

// 8080, 127.0.0.1:8080, [::1]:8080 and ::1:8080; port 0 for anything else.
ListenAddress ParseListenAddress(const std::string& text) {
  ListenAddress address;
  std::string port = text;
  if (const std::size_t colon = text.rfind(':'); colon != std::string::npos) {
    address.host = text.substr(0, colon);
    port = text.substr(colon + 1);
  }
  if (address.host.starts_with('[') && address.host.ends_with(']'))
    address.host = address.host.substr(1, address.host.size() - 2);
  if (address.host == "*") address.host.clear();
  const long number = std::strtol(port.c_str(), nullptr, 10);
  if (number > 0 && number <= 65535) address.port = static_cast<std::uint16_t>(number);
  return address;
}

void ReadFile(const std::filesystem::path& path, std::filesystem::path& root, int depth,
              std::vector<ListenAddress>& out) {
  std::ifstream file(path);
  for (std::string line; depth > 0 && std::getline(file, line);) {
    std::istringstream words(line);
    std::string name;
    std::string value;
    words >> name >> std::quoted(value);
    if (NameIs(name, "ServerRoot")) {
      root = value;
    } else if (NameIs(name, "Include") || NameIs(name, "IncludeOptional")) {
      ReadFile(root / value, root, depth - 1, out);
    } else if (NameIs(name, "Listen")) {
      if (const ListenAddress address = ParseListenAddress(value); address.port != 0)
        out.push_back(address);
    }
  }
}

// The kernel writes an address as 32-bit words in the machine's own byte order.
ListenAddress ParseKernelAddress(const std::string& text) {
  const std::size_t colon = text.find(':');
  if (colon != 8 && colon != 32) return {};
  unsigned char bytes[16] = {};
  for (std::size_t word = 0; word * 8 < colon; ++word) {
    const auto value =
        static_cast<std::uint32_t>(std::strtoul(text.substr(word * 8, 8).c_str(), nullptr, 16));
    std::memcpy(bytes + word * 4, &value, sizeof value);
  }
  char host[INET6_ADDRSTRLEN] = {};
  inet_ntop(colon == 8 ? AF_INET : AF_INET6, bytes, host, sizeof host);
  ListenAddress address{
      host, static_cast<std::uint16_t>(std::strtoul(text.c_str() + colon + 1, nullptr, 16))};
  if (address.host == "0.0.0.0" || address.host == "::") address.host.clear();
  return address;
}

std::vector<Row> ReadListeningSockets(const ProcessIdentity& server) {
  const std::vector<std::uint64_t> own = SocketsOf(server);
  std::vector<Row> rows;
  for (const char* table : {"/proc/net/tcp", "/proc/net/tcp6"}) {
    std::ifstream file(table);
    for (std::string line; std::getline(file, line);) {
      std::istringstream fields(line);
      std::string slot, local, remote, state, queues, timer, retries, user, timeout;
      std::uint64_t inode = 0;
      fields >> slot >> local >> remote >> state >> queues >> timer >> retries >> user >> timeout >>
          inode;
      if (fields.fail() || state != "0A") continue;
      rows.push_back(
          {ParseKernelAddress(local), std::find(own.begin(), own.end(), inode) != own.end()});
    }
  }
  return rows;
}

const char* TextOf(Win32Error error) {
  switch (error) {
    case WSAEADDRINUSE:
      return "Address already in use";
    case WSAEADDRNOTAVAIL:
      return "No interface has this address";
    case ERROR_ACCESS_DENIED:
      return "Permission denied";
    default:
      return "The address cannot be had";
  }
}

}  // namespace

std::vector<ListenAddress> ReadListenAddresses(const std::string& configuration) {
  std::vector<ListenAddress> addresses;
  std::filesystem::path root;
  ReadFile(configuration, root, kIncludeDepth, addresses);
  return addresses;
}

ListenVerdict CheckListenAddresses(const std::vector<ListenAddress>& addresses,
                                   const ProcessIdentity& server, std::string& reason) {
  if (addresses.empty()) {
    reason = "The configuration names no address to listen on.";
    return ListenVerdict::kRefused;
  }
  const std::vector<Row> rows = ReadListeningSockets(server);
  ListenVerdict verdict = ListenVerdict::kReady;
  for (const ListenAddress& address : addresses) {
    const auto kept = [&](const Row& row) { return row.ours && row.address == address; };
    const auto on_port = [&](const Row& row) { return row.address.port == address.port; };
    const auto foreign = [&](const Row& row) { return on_port(row) && !row.ours; };
    if (std::any_of(rows.begin(), rows.end(), kept)) continue;
    const Win32Error error = TestBind(Utf16ForDisplay(address.host), address.port);
    // What is no numeric address is for the server itself to look up.
    if (error == ERROR_SUCCESS || error == ERROR_INVALID_PARAMETER) continue;
    if (error == WSAEADDRINUSE && std::any_of(rows.begin(), rows.end(), on_port) &&
        std::none_of(rows.begin(), rows.end(), foreign)) {
      verdict = ListenVerdict::kHeldByUs;
      continue;
    }
    reason = "Cannot listen on " + (address.host.empty() ? "port " : address.host + ":") +
             std::to_string(address.port) + ": " + TextOf(error);
    return ListenVerdict::kRefused;
  }
  return verdict;
}

}  // namespace kelvarion::platform
