#include "ormu/service_client.h"

#include <svn_error.h>

#include "ormu/boundary.h"
#include "platform/network/local_socket.h"
#include "platform/ormu/ormu.h"
#include "svn/error.h"

namespace kelvarion::ormu {
namespace {

constexpr int kSendTimeout = 10'000;

[[noreturn]] void ThrowServiceFailed(Win32Error error, const char* reason) {
  ThrowOver(ORMU_ERR_SERVICE_FAILED, u"The replication service of this server cannot be asked",
            svn_error_create(ORMU_ERR_SYSTEM + static_cast<int>(error), nullptr, reason));
}

platform::Descriptor Connect(const std::string& home) {
  platform::Descriptor connection;
  switch (const Win32Error error = platform::ConnectLocal(ServiceSocketPath(home), connection)) {
    case ERROR_SUCCESS:
      return connection;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      ThrowServiceFailed(RPC_S_SERVER_UNAVAILABLE, "It does not run");
    default:
      ThrowServiceFailed(error, "Its socket cannot be connected to");
  }
}

[[noreturn]] void ThrowNoAnswer() {
  ThrowServiceFailed(RPC_S_SERVER_UNAVAILABLE, "It ended before it answered");
}

}  // namespace

void AskService(const std::string& home, const WireJson& request,
                const std::function<void(const WireJson& result)>& read) {
  const platform::Descriptor connection = Connect(home);
  const std::string line = request.dump(-1, ' ', false, WireJson::error_handler_t::replace) + "\n";
  std::string reply;
  if (platform::SendAll(connection.get(), line, kSendTimeout) != ERROR_SUCCESS ||
      !ReceiveLine(connection.get(), reply))
    ThrowNoAnswer();
  try {
    const WireJson answer = WireJson::parse(reply);
    if (answer.contains("error")) throw SvnException(ChainFromJson(answer["error"]));
    read(answer.at("result"));
  } catch (const WireJson::exception&) {
    ThrowNoAnswer();
  }
}

}  // namespace kelvarion::ormu

// The requests of platform/ormu/ormu.h.

using kelvarion::ormu::AskService;
using kelvarion::ormu::AtBoundary;
using kelvarion::ormu::WireJson;

namespace {

svn_error_t* Ask(const char* home, const char* request, WireJson parameters) {
  return AtBoundary([&] {
    parameters["request"] = request;
    AskService(home, parameters, [](const WireJson&) {});
  });
}

}  // namespace

svn_error_t* ormusvc_client_test_connection(const char* home, std::int64_t* revisions,
                                            const char* server, const char* repository,
                                            apr_pool_t*) {
  return AtBoundary([&] {
    AskService(
        home, {{"request", "test_connection"}, {"server", server}, {"repository", repository}},
        [&](const WireJson& result) { *revisions = result.at("revisions").get<std::int64_t>(); });
  });
}

svn_error_t* ormusvc_client_create_slave(const char* home, const char* name, const char* server,
                                         const char* repository, apr_pool_t*) {
  return Ask(home, "create_slave",
             {{"name", name}, {"server", server}, {"repository", repository}});
}

svn_error_t* ormusvc_client_attach_slave(const char* home, const char* name, apr_pool_t*) {
  return Ask(home, "attach_slave", {{"name", name}});
}

svn_error_t* ormusvc_client_delete_slave(const char* home, const char* name, apr_pool_t*) {
  return Ask(home, "delete_slave", {{"name", name}});
}

svn_error_t* ormusvc_client_rename_slave(const char* home, const char* old_name,
                                         const char* new_name, apr_pool_t*) {
  return Ask(home, "rename_slave", {{"name", old_name}, {"new_name", new_name}});
}

svn_error_t* ormusvc_client_promote_slave(const char* home, const char* name, apr_pool_t*) {
  return Ask(home, "promote_slave", {{"name", name}});
}

svn_error_t* ormusvc_client_downgrade_master(const char* home, const char* name, const char* server,
                                             const char* repository, apr_pool_t*) {
  return Ask(home, "downgrade_master",
             {{"name", name}, {"server", server}, {"repository", repository}});
}

svn_error_t* ormusvc_client_relocate_slave(const char* home, const char* name, const char* server,
                                           const char* repository, apr_pool_t*) {
  return Ask(home, "relocate_slave",
             {{"name", name}, {"server", server}, {"repository", repository}});
}

svn_error_t* ormusvc_client_sync_slave(const char* home, const char* name, apr_pool_t*) {
  return Ask(home, "sync_slave", {{"name", name}});
}

svn_error_t* ormusvc_client_check_consistency(const char* home, const char* name, apr_pool_t*) {
  return Ask(home, "check_consistency", {{"name", name}});
}
