// What a client makes of the replication service's answer, whatever that answer is.
#include <svn_error.h>

#include <filesystem>
#include <thread>

#include "errors/exception.h"
#include "fuzz/fuzz.h"
#include "ormu/service_wire.h"
#include "ormu/status_json.h"
#include "platform/network/local_socket.h"
#include "platform/ormu/ormu.h"
#include "svn/error.h"
#include "svn/pool.h"

using namespace kelvarion;
using namespace kelvarion::ormu;

namespace {

// Gives one answer to all.
class Service {
 public:
  Service() {
    std::filesystem::create_directories(home.native() + "/server/run");
    std::filesystem::create_directories(home.native() + "/repositories");
    fuzz::Expect(platform::ListenLocal(ServiceSocketPath(home.native()), listener_) == 0,
                 "there is a socket");
    std::thread([this] { Serve(); }).detach();
  }

  testing::TemporaryFolder home;
  std::string answer;  // Before anybody asks.

 private:
  [[noreturn]] void Serve() const {
    for (;;) {
      platform::Descriptor client;
      std::string question;
      platform::AwaitReadable(listener_.get(), -1);
      if (platform::AcceptLocal(listener_.get(), client) != ERROR_SUCCESS || !client) continue;
      ReceiveLine(client.get(), question, std::chrono::seconds(10));
      platform::SendAll(client.get(), answer, 1000);
    }
  }

  platform::Descriptor listener_;
};

}  // namespace

void kelvarion::fuzz::Target(std::string_view bytes) {
  static Service& service = *new Service;
  static const svn::Pool& root = *new svn::Pool(svn::Pool::Root());
  const svn::Pool pool(root);
  service.answer = std::string(bytes) + "\n";
  try {
    const ReplicationStatus status =
        ReadReplicationStatus(service.home.native(), service.home.path() + u"/repositories", pool);
    for (const SlaveStatus& slave : status.slaves) StatusToJson(slave);
  } catch (const Exception& refusal) {
    fuzz::Expect(!refusal.Message().empty(), "a refusal says why");
  }
  std::int64_t revisions = 0;
  svn_error_t* const error =
      ormusvc_client_test_connection(service.home.native().c_str(), &revisions, "m", "r", pool);
  if (error) {
    SvnException failure(error);
    fuzz::Expect(!ChainToJson(failure.chain()).empty(), "an error has something to say");
  }
}
