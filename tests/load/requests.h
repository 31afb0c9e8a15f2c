// One client's connection to the daemon, on which it makes one request after another.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "host/argument.h"
#include "host/wire.h"
#include "platform/files/descriptor.h"
#include "tests/load/tally.h"

namespace kelvarion::load {

using host::Json;

inline constexpr auto kNotFound = static_cast<std::uint32_t>(WBEM_E_NOT_FOUND);
inline constexpr auto kBusy = static_cast<std::uint32_t>(WBEM_E_SERVER_TOO_BUSY);
inline constexpr auto kCancelled = static_cast<std::uint32_t>(WBEM_E_CALL_CANCELLED);
inline constexpr auto kFailed = static_cast<std::uint32_t>(WBEM_E_FAILED);

struct Request {
  const char* kind;
  Json body;
};
Request Get(const std::string& path);
Request Enumerate(const std::string& class_name);
Request Call(const std::string& path, const std::string& method, Json parameters = Json::object());

// The path of an instance whose key is Name.
std::string PathOf(const std::string& class_name, const std::string& name);

// Replaces the rules of one path.
Request SetRules(const std::string& repository, const std::string& path, Json rules);
Json RuleFor(const std::string& user, int level);

struct Answer {
  std::string asked;
  std::uint32_t status = kFailed;
  std::string error;
  std::vector<Json> objects;

  // A member of the first object; null when there is none.
  Json Value(const char* name) const;
};

// For one thread.
class Requests {
 public:
  explicit Requests(std::string socket) : path_(std::move(socket)) {}

  // Makes the request, again for as long as the daemon is too busy; timed as `what`.
  Answer Make(const char* what, const Request& request);
  // The same; unexpected unless the status is one of those.
  Answer Expect(const char* what, const Request& request,
                std::initializer_list<std::uint32_t> statuses = {0});
  void Unexpected(const std::string& what) { ++tally_.unexpected[what]; }
  void Unexpected(const Answer& answer);

  // Made anew when there is none.
  int socket();
  void HangUp() { connection_ = platform::Descriptor(); }
  Tally& tally() { return tally_; }

 private:
  const std::string path_;
  platform::Descriptor connection_;
  Tally tally_;
};

}  // namespace kelvarion::load
