// What a client makes of a daemon's answer, whatever that answer is.
#include <filesystem>

#include "errors/exception.h"
#include "fuzz/fuzz.h"
#include "host/client/daemon_client.h"
#include "host/client/http_exchange.h"
#include "host/value_output.h"
#include "host/wire.h"
#include "platform/network/local_socket.h"

using namespace kelvarion;
using namespace kelvarion::host;

namespace {

struct Daemon {
  testing::TemporaryFolder home;
  platform::Descriptor listener;
  Daemon() {
    const std::string path = SocketPath(home.native());
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    fuzz::Expect(platform::ListenLocal(path, listener) == ERROR_SUCCESS, "there is a socket");
  }
};

}  // namespace

void kelvarion::fuzz::Target(std::string_view bytes) {
  static const Daemon& daemon = *new Daemon;
  static const auto& schema =
      *new std::shared_ptr(std::make_shared<const Schema>(KELVARION_SOURCE_DIR "/schema"));
  const auto client = ConnectToDaemon(daemon.home.native(), schema);
  platform::Descriptor server;
  platform::AcceptLocal(daemon.listener.get(), server);
  // The answer is there before the question, and fits into what the socket holds.
  platform::SendAll(server.get(), bytes, 0);
  platform::EndSending(server.get());
  try {
    const Reply reply =
        client->Call(u"Kelvarion_Repository.Name=\"r\"", u"GetChildren", nullptr, nullptr, nullptr);
    for (const ObjectPtr& object : reply.objects) ObjectToJson(*object);
    if (reply.error) ObjectToJson(*reply.error);
  } catch (const Exception&) {
  }
}
