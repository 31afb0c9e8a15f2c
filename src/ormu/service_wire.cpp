#include "ormu/service_wire.h"

#include <svn_error.h>

#include "platform/network/local_socket.h"

namespace kelvarion::ormu {
namespace {

// Names, addresses and chains fit many times.
constexpr std::size_t kLongestLine = 16 * 1024 * 1024;

using Clock = std::chrono::steady_clock;

bool AwaitUntil(Clock::time_point end, int socket) {
  using std::chrono::milliseconds;
  for (;;) {
    const auto left = std::chrono::ceil<milliseconds>(end - Clock::now());
    if (left <= milliseconds::zero()) return false;
    if (platform::AwaitReadable(socket, static_cast<int>(left.count()))) return true;
  }
}

}  // namespace

std::string ServiceSocketPath(const std::string& home) { return home + "/server/run/ormusvc.sock"; }

WireJson ChainToJson(svn_error_t* chain) {
  WireJson links = WireJson::array();
  for (const svn_error_t* link = svn_error_purge_tracing(chain); link; link = link->child) {
    char buffer[512];
    links.push_back({link->apr_err, svn_err_best_message(link, buffer, sizeof buffer)});
  }
  return links;
}

svn_error_t* ChainFromJson(const WireJson& json) {
  svn_error_t* chain = nullptr;
  for (auto link = json.rbegin(); link != json.rend(); ++link)
    chain = svn_error_create(link->at(0).get<int>(), chain, link->at(1).get<std::string>().c_str());
  if (!chain) json.at(0);  // Throws.
  return chain;
}

bool ReceiveLine(int socket, std::string& line, std::optional<std::chrono::milliseconds> patience) {
  const auto end = Clock::now() + patience.value_or(std::chrono::milliseconds::zero());
  line.clear();
  char buffer[4096];
  for (std::size_t count = 0; line.size() < kLongestLine;) {
    if (patience && !AwaitUntil(end, socket)) return false;
    if (platform::Receive(socket, buffer, sizeof buffer, count) != ERROR_SUCCESS || count == 0)
      return false;
    line.append(buffer, count);
    if (line.back() != '\n') continue;
    line.pop_back();
    return true;
  }
  return false;
}

}  // namespace kelvarion::ormu
