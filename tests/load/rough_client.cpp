#include "tests/load/rough_client.h"

#include "platform/network/local_socket.h"

namespace kelvarion::load {
namespace {

constexpr auto kInvalid = static_cast<std::uint32_t>(WBEM_E_INVALID_PARAMETER);
constexpr auto kInvalidPath = static_cast<std::uint32_t>(WBEM_E_INVALID_OBJECT_PATH);
constexpr auto kNoMethod = static_cast<std::uint32_t>(WBEM_E_INVALID_METHOD);
constexpr auto kUnfit = static_cast<std::uint32_t>(WBEM_E_INVALID_METHOD_PARAMETERS);

std::string Raw(const Request& request) {
  const std::string body = request.body.dump();
  return std::string("POST ") + host::kTargetPrefix + request.kind +
         " HTTP/1.1\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string Repository(const std::string& name) { return PathOf("Kelvarion_Repository", name); }

}  // namespace

struct RoughClient::Choice {
  int weight;
  void (RoughClient::*step)();
};

RoughClient::RoughClient(const std::string& socket, std::string shared, int number, unsigned seed)
    : Worker(seed),
      shared_(std::move(shared)),
      user_("rough-user-" + std::to_string(number)),
      group_("rough-group-" + std::to_string(number)),
      repository_("rough-" + std::to_string(number)),
      requests_(socket) {}

void RoughClient::Step() {
  using Self = RoughClient;
  static const Choice choices[] = {
      {24, &Self::Read},
      {12, &Self::List},
      {10, &Self::ToggleUser},
      {6, &Self::ToggleGroup},
      {4, &Self::ToggleRepository},
      {10, &Self::ChangeRules},
      {14, &Self::ReadRules},
      {6, &Self::Cancel},
      {6, &Self::SendNonsense},
      {5, &Self::Vanish},
      {3, &Self::StopSending},
  };
  (this->*Choose(choices).step)();
}

void RoughClient::CleanUp() {
  if (has_repository_) ToggleRepository();
  if (has_group_) ToggleGroup();
  if (has_user_) ToggleUser();
  ExpectCall("remove rules", SetRules(shared_, "/" + user_, Json::array()), {0});
}

// Every other call can be cancelled by its name.
void RoughClient::ExpectCall(const char* what, Request call,
                             std::initializer_list<std::uint32_t> statuses) {
  if (Chance(2)) call.body["context"] = {{"ActivityId", user_}};
  requests_.Expect(what, call, statuses);
}

void RoughClient::Read() {
  switch (Below(4)) {
    case 0:
      requests_.Expect("get version", Get("Kelvarion_VersionInfo=@"));
      break;
    case 1:
      requests_.Expect("get service", Get(PathOf("Kelvarion_Service", "KelvarionServer")));
      break;
    case 2:
      requests_.Expect("get user", Get(PathOf("Kelvarion_User", user_)),
                       {has_user_ ? 0 : kNotFound});
      break;
    default:
      requests_.Expect("get repository", Get(Repository(repository_)),
                       {has_repository_ ? 0 : kNotFound});
  }
}

void RoughClient::List() {
  const char* const classes[] = {"Kelvarion_User", "Kelvarion_Group", "Kelvarion_Repository",
                                 "Kelvarion_Service"};
  requests_.Expect("enumerate", Enumerate(classes[Below(4)]));
}

void RoughClient::ToggleUser() {
  const Request request =
      has_user_ ? Call("Kelvarion_User", "Delete", {{"Name", user_}})
                : Call("Kelvarion_User", "Create", {{"Name", user_}, {"Password", "secret"}});
  ExpectCall("create or delete user", request, {0});
  has_user_ = !has_user_;
}

void RoughClient::ToggleGroup() {
  const Json members = Json::array({PathOf("Kelvarion_User", user_)});
  const Request request =
      has_group_ ? Call("Kelvarion_Group", "Delete", {{"Name", group_}})
                 : Call("Kelvarion_Group", "Create", {{"Name", group_}, {"Members", members}});
  ExpectCall("create or delete group", request, {0});
  has_group_ = !has_group_;
}

void RoughClient::ToggleRepository() {
  ExpectCall(
      "create or delete repository",
      Call("Kelvarion_Repository", has_repository_ ? "Delete" : "Create", {{"Name", repository_}}),
      {0});
  has_repository_ = !has_repository_;
}

void RoughClient::ChangeRules() {
  const std::string& repository = has_repository_ && Chance(2) ? repository_ : shared_;
  const Json rules = Chance(4) ? Json::array() : Json::array({RuleFor(user_, Below(3))});
  ExpectCall("set rules", SetRules(repository, "/" + user_, rules), {0});
}

void RoughClient::ReadRules() {
  ExpectCall("get rules", Call(Repository(shared_), "GetSecurity", {{"Path", "/" + user_}}), {0});
}

// Of whatever happens to run under some client's name.
void RoughClient::Cancel() {
  ExpectCall(
      "cancel",
      Call("Kelvarion_Activity", "Cancel", {{"Id", "rough-user-" + std::to_string(Below(64))}}),
      {0, 1});
}

void RoughClient::SendNonsense() {
  switch (Below(6)) {
    case 0:
      requests_.Expect("nonsense", Get("Kelvarion_Nothing=@"), {kFailed});
      break;
    case 1:
      requests_.Expect("nonsense", Get("\"]"), {kInvalidPath});
      break;
    case 2:
      requests_.Expect("nonsense", {host::kGet, {{"path", 7}}}, {kInvalid});
      break;
    case 3:
      requests_.Expect("nonsense", Call("Kelvarion_User", "Invent"), {kNoMethod});
      break;
    case 4:
      ExpectCall("nonsense", Call("Kelvarion_Repository", "Create", {{"Name", 7}}), {kUnfit});
      break;
    default:
      requests_.HangUp();
      platform::SendAll(requests_.socket(), "Hello?\r\n\r\n", 1000);
      requests_.HangUp();
  }
}

// In the middle of a request, or of its answer, that leaves nothing that a client would have to
// know.
void RoughClient::Vanish() {
  const std::string requests[] = {
      Raw(Enumerate("Kelvarion_Repository")),
      Raw(Get("Kelvarion_VersionInfo=@")),
      Raw(Call(Repository(shared_), "GetSecurity", {{"Path", "/"}})),
  };
  const std::string& request = requests[Below(3)];
  const std::size_t size = Chance(2)
                               ? request.size()
                               : static_cast<std::size_t>(Below(static_cast<int>(request.size())));
  platform::SendAll(requests_.socket(), std::string_view(request).substr(0, size), 1000);
  if (size == request.size() && Chance(2)) {
    char byte = 0;
    std::size_t count = 0;
    platform::Receive(requests_.socket(), &byte, 1, count);
  }
  requests_.HangUp();
  ++requests_.tally().vanished;
}

// Cancels the request and still waits for its end, which may have come first.
void RoughClient::StopSending() {
  std::uint32_t status = kFailed;
  requests_.HangUp();
  const int socket = requests_.socket();
  platform::SendAll(socket, Raw(Enumerate("Kelvarion_Repository")), 1000);
  platform::EndSending(socket);
  std::string all;
  char buffer[4096];
  std::size_t count = 1;
  while (platform::Receive(socket, buffer, sizeof buffer, count) == ERROR_SUCCESS && count > 0)
    all.append(buffer, count);
  requests_.HangUp();
  const std::size_t at = all.find("{\"status\":");
  if (at != std::string::npos) status = static_cast<std::uint32_t>(std::stoul(all.substr(at + 10)));
  if (status != 0 && status != kCancelled && status != kBusy)
    requests_.Unexpected("after the end of sending: " + all.substr(0, 200));
}

}  // namespace kelvarion::load
