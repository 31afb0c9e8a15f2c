#include "tests/load/client.h"

#include <chrono>
#include <thread>

#include "errors/exception.h"
#include "host/client/http_exchange.h"
#include "host/text.h"
#include "host/wire.h"
#include "platform/network/local_socket.h"

namespace kelvarion::load {
namespace {

constexpr auto kNotFound = static_cast<std::uint32_t>(WBEM_E_NOT_FOUND);
constexpr auto kBusy = static_cast<std::uint32_t>(WBEM_E_SERVER_TOO_BUSY);
constexpr auto kCancelled = static_cast<std::uint32_t>(WBEM_E_CALL_CANCELLED);
constexpr auto kFailed = static_cast<std::uint32_t>(WBEM_E_FAILED);
constexpr auto kInvalid = static_cast<std::uint32_t>(WBEM_E_INVALID_PARAMETER);
constexpr auto kUnfit = static_cast<std::uint32_t>(WBEM_E_INVALID_METHOD_PARAMETERS);

std::string PathOf(const std::string& class_name, const std::string& name) {
  return class_name + ".Name=\"" + name + "\"";
}

std::string Raw(const std::string& target, const std::string& body) {
  return "POST " + target + " HTTP/1.1\r\nContent-Length: " + std::to_string(body.size()) +
         "\r\n\r\n" + body;
}

}  // namespace

struct Client::Choice {
  int weight;
  void (Client::*step)();
};

const std::vector<Client::Choice>& Client::Choices() {
  static const std::vector<Choice> choices{
      {24, &Client::Get},        {12, &Client::Enumerate},       {10, &Client::ToggleUser},
      {6, &Client::ToggleGroup}, {4, &Client::ToggleRepository}, {10, &Client::ChangeRules},
      {14, &Client::ReadRules},  {6, &Client::Cancel},           {6, &Client::SendNonsense},
      {5, &Client::Vanish},      {3, &Client::StopSending},
  };
  return choices;
}

Client::Client(std::string socket, int number, unsigned seed)
    : path_(std::move(socket)),
      user_("user-" + std::to_string(number)),
      group_("group-" + std::to_string(number)),
      repository_("load-" + std::to_string(number)),
      random_(seed + static_cast<unsigned>(number)) {}

void Client::Step() {
  static const int total = [] {
    int sum = 0;
    for (const Choice& choice : Choices()) sum += choice.weight;
    return sum;
  }();
  int at = Below(total);
  for (const Choice& choice : Choices()) {
    if ((at -= choice.weight) < 0) return (this->*choice.step)();
  }
}

void Client::CleanUp() {
  if (has_repository_) ToggleRepository();
  if (has_group_) ToggleGroup();
  if (has_user_) ToggleUser();
}

int Client::socket() {
  if (!connection_ && platform::ConnectLocal(path_, connection_) != ERROR_SUCCESS)
    throw SimpleException(u"no connection");
  return connection_.get();
}

void Client::Expect(const std::string& kind, const Json& body,
                    std::vector<std::uint32_t> expected) {
  const std::string text = body.dump();
  std::uint32_t status = kBusy;
  Json error;
  try {
    for (int attempt = 0; status == kBusy; ++attempt) {
      if (attempt > 0) {
        ++tally_.busy;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
      }
      const auto begin = std::chrono::steady_clock::now();
      host::Exchange(socket(), host::kTargetPrefix + kind, text, [&](const Json& line) {
        if (!line.contains("status")) return;
        status = line["status"];
        error = line["error"];
      });
      const std::chrono::duration<float, std::milli> time =
          std::chrono::steady_clock::now() - begin;
      tally_.milliseconds.push_back(time.count());
    }
  } catch (const Exception& exception) {
    connection_ = platform::Descriptor();
    return Unexpected(kind + ": " + host::Utf8(exception.Message()));
  }
  if (std::find(expected.begin(), expected.end(), status) == expected.end())
    Unexpected(text.substr(0, 80) + ": " + std::to_string(status) + " " +
               (error.is_object() ? error.value("Description", "") : ""));
}

void Client::ExpectCall(const std::string& path, const std::string& method, const Json& parameters,
                        std::vector<std::uint32_t> expected) {
  Json body = {{"path", path}, {"method", method}, {"parameters", parameters}};
  // Every other call can be cancelled by its name.
  if (Chance(2)) body["context"] = {{"ActivityId", user_}};
  Expect(host::kCall, body, std::move(expected));
}

void Client::Get() {
  switch (Below(4)) {
    case 0:
      return Expect(host::kGet, {{"path", "Kelvarion_VersionInfo=@"}}, {0});
    case 1:
      return Expect(host::kGet, {{"path", PathOf("Kelvarion_Service", "KelvarionServer")}}, {0});
    case 2:
      return Expect(host::kGet, {{"path", PathOf("Kelvarion_User", user_)}},
                    {has_user_ ? 0 : kNotFound});
    default:
      return Expect(host::kGet, {{"path", PathOf("Kelvarion_Repository", repository_)}},
                    {has_repository_ ? 0 : kNotFound});
  }
}

void Client::Enumerate() {
  const char* const classes[] = {"Kelvarion_User", "Kelvarion_Group", "Kelvarion_Repository",
                                 "Kelvarion_Service"};
  Expect(host::kEnumerate, {{"class", classes[Below(4)]}}, {0});
}

void Client::ToggleUser() {
  if (has_user_)
    ExpectCall("Kelvarion_User", "Delete", {{"Name", user_}});
  else
    ExpectCall("Kelvarion_User", "Create", {{"Name", user_}, {"Password", "secret"}});
  has_user_ = !has_user_;
}

void Client::ToggleGroup() {
  if (has_group_)
    ExpectCall("Kelvarion_Group", "Delete", {{"Name", group_}});
  else
    ExpectCall("Kelvarion_Group", "Create",
               {{"Name", group_}, {"Members", Json::array({PathOf("Kelvarion_User", user_)})}});
  has_group_ = !has_group_;
}

void Client::ToggleRepository() {
  ExpectCall("Kelvarion_Repository", has_repository_ ? "Delete" : "Create",
             {{"Name", repository_}});
  has_repository_ = !has_repository_;
}

void Client::ChangeRules() {
  const Json account = {{"__CLASS", "Kelvarion_User"}, {"Name", user_}};
  const Json entry = {
      {"__CLASS", "Kelvarion_PermissionEntry"}, {"Account", account}, {"AccessLevel", Below(3)}};
  const std::string& repository = has_repository_ && Chance(2) ? repository_ : kShared;
  ExpectCall(PathOf("Kelvarion_Repository", repository), "SetSecurity",
             {{"Path", "/" + user_},
              {"Permissions", Chance(4) ? Json::array() : Json::array({entry})},
              {"ResetChildren", Chance(2)}});
}

void Client::ReadRules() {
  ExpectCall(PathOf("Kelvarion_Repository", kShared), "GetSecurity", {{"Path", "/" + user_}});
}

// Of whatever happens to run under some client's name.
void Client::Cancel() {
  ExpectCall("Kelvarion_Activity", "Cancel", {{"Id", "user-" + std::to_string(Below(64))}}, {0, 1});
}

void Client::SendNonsense() {
  switch (Below(6)) {
    case 0:
      return Expect(host::kGet, {{"path", "Kelvarion_Nothing=@"}}, {kFailed});
    case 1:
      return Expect(host::kGet, {{"path", "\"]"}},
                    {static_cast<std::uint32_t>(WBEM_E_INVALID_OBJECT_PATH)});
    case 2:
      return Expect(host::kGet, {{"path", 7}}, {kInvalid});
    case 3:
      return Expect(host::kCall, {{"path", "Kelvarion_User"}, {"method", "Invent"}},
                    {static_cast<std::uint32_t>(WBEM_E_INVALID_METHOD)});
    case 4:
      return ExpectCall("Kelvarion_Repository", "Create", {{"Name", 7}}, {kUnfit});
    default:
      connection_ = platform::Descriptor();
      platform::SendAll(socket(), "Hello?\r\n\r\n", 1000);
      connection_ = platform::Descriptor();
  }
}

// In the middle of a request, or of its answer, that leaves nothing that a client would have to
// know.
void Client::Vanish() {
  const std::string requests[] = {
      Raw("/v1/enumerate", R"({"class":"Kelvarion_Repository"})"),
      Raw("/v1/get", R"({"path":"Kelvarion_VersionInfo=@"})"),
      Raw("/v1/call", Json{{"path", PathOf("Kelvarion_Repository", kShared)},
                           {"method", "GetSecurity"},
                           {"parameters", {{"Path", "/"}}}}
                          .dump()),
  };
  const std::string& request = requests[Below(3)];
  const std::size_t size = Chance(2)
                               ? request.size()
                               : static_cast<std::size_t>(Below(static_cast<int>(request.size())));
  platform::SendAll(socket(), std::string_view(request).substr(0, size), 1000);
  if (size == request.size() && Chance(2)) {
    char byte = 0;
    std::size_t count = 0;
    platform::Receive(connection_.get(), &byte, 1, count);
  }
  connection_ = platform::Descriptor();
  ++tally_.vanished;
}

// Cancels the request and still waits for its end, which may have come first.
void Client::StopSending() {
  const std::string request = Raw("/v1/enumerate", R"({"class":"Kelvarion_Repository"})");
  std::uint32_t status = kFailed;
  connection_ = platform::Descriptor();
  platform::SendAll(socket(), request, 1000);
  platform::EndSending(connection_.get());
  std::string all;
  char buffer[4096];
  std::size_t count = 1;
  while (platform::Receive(connection_.get(), buffer, sizeof buffer, count) == ERROR_SUCCESS &&
         count > 0)
    all.append(buffer, count);
  connection_ = platform::Descriptor();
  const std::size_t at = all.find("{\"status\":");
  if (at != std::string::npos) status = static_cast<std::uint32_t>(std::stoul(all.substr(at + 10)));
  if (status != 0 && status != kCancelled && status != kBusy)
    Unexpected("after the end of sending: " + all.substr(0, 200));
}

}  // namespace kelvarion::load
