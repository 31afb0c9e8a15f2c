#include "tests/load/requests.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "errors/exception.h"
#include "host/client/http_exchange.h"
#include "host/text.h"
#include "platform/network/local_socket.h"

namespace kelvarion::load {

Request Get(const std::string& path) { return {host::kGet, {{"path", path}}}; }

Request Enumerate(const std::string& class_name) {
  return {host::kEnumerate, {{"class", class_name}}};
}

Request Call(const std::string& path, const std::string& method, Json parameters) {
  return {host::kCall, {{"path", path}, {"method", method}, {"parameters", std::move(parameters)}}};
}

std::string PathOf(const std::string& class_name, const std::string& name) {
  return class_name + ".Name=\"" + name + "\"";
}

Request SetRules(const std::string& repository, const std::string& path, Json rules) {
  return Call(PathOf("Kelvarion_Repository", repository), "SetSecurity",
              {{"Path", path}, {"Permissions", std::move(rules)}, {"ResetChildren", false}});
}

Json RuleFor(const std::string& user, int level) {
  return {{"__CLASS", "Kelvarion_PermissionEntry"},
          {"Account", {{"__CLASS", "Kelvarion_User"}, {"Name", user}}},
          {"AccessLevel", level}};
}

Json Answer::Value(const char* name) const {
  return objects.empty() ? Json() : objects.front().value(name, Json());
}

Answer Requests::Make(const char* what, const Request& request) {
  const std::string body = request.body.dump();
  Answer answer{body.substr(0, 120), kBusy, {}, {}};
  try {
    for (int attempt = 0; answer.status == kBusy; ++attempt) {
      if (attempt > 0) {
        ++tally_.busy;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
      }
      const auto begin = std::chrono::steady_clock::now();
      host::Exchange(socket(), host::kTargetPrefix + std::string(request.kind), body,
                     [&](const Json& line) {
                       if (line.contains("object")) answer.objects.push_back(line["object"]);
                       if (!line.contains("status")) return;
                       answer.status = line["status"];
                       if (line["error"].is_object())
                         answer.error = line["error"].value("Description", "");
                     });
      const std::chrono::duration<float, std::milli> time =
          std::chrono::steady_clock::now() - begin;
      tally_.milliseconds[what].push_back(time.count());
    }
  } catch (const Exception& exception) {
    HangUp();
    answer.status = static_cast<std::uint32_t>(WBEM_E_TRANSPORT_FAILURE);
    answer.error = host::Utf8(exception.Message());
  }
  return answer;
}

Answer Requests::Expect(const char* what, const Request& request,
                        std::initializer_list<std::uint32_t> statuses) {
  Answer answer = Make(what, request);
  if (std::ranges::find(statuses, answer.status) == statuses.end()) Unexpected(answer);
  return answer;
}

void Requests::Unexpected(const Answer& answer) {
  Unexpected(answer.asked + ": " + std::to_string(answer.status) + " " + answer.error);
}

int Requests::socket() {
  if (!connection_ && platform::ConnectLocal(path_, connection_) != ERROR_SUCCESS)
    throw SimpleException(u"no connection");
  return connection_.get();
}

}  // namespace kelvarion::load
