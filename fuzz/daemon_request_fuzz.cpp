// Whatever a client sends, the daemon answers in HTTP or hangs up, and serves the next one.
#include <thread>

#include "fuzz/fuzz.h"
#include "host/daemon/daemon.h"
#include "host/fake_provider_for_test.h"
#include "host/wire.h"
#include "platform/network/local_socket.h"
#include "provider/class_ids.h"
#include "tests/support/test_home.h"

using namespace kelvarion;
using namespace kelvarion::host;

namespace {

// A daemon of this process whose provider has nothing to do; it ends with the process.
class Served {
 public:
  Served() {
    const auto provider = MakeCom<FakeProvider>();
    provider->method = [](const std::u16string&, IWbemContext*, IWbemClassObject*,
                          IWbemObjectSink* sink) {
      return sink->SetStatus(WBEM_STATUS_COMPLETE, S_OK, nullptr, nullptr);
    };
    CoRegisterClassObject(CLSID_KelvarionWMIProvider, MakeCom<FakeFactory>(provider));
    host_.emplace(home_.machine(), std::make_shared<const Schema>(KELVARION_SOURCE_DIR "/schema"));
    DaemonLimits limits;
    limits.request_bytes = 2048;
    daemon_.emplace(home_.folder(), *host_, limits);
    std::thread([this] { daemon_->Run(); }).detach();
  }

  std::string Answer(std::string_view sent) const {
    platform::Descriptor socket;
    fuzz::Expect(platform::ConnectLocal(SocketPath(home_.folder()), socket) == ERROR_SUCCESS,
                 "the daemon takes connections");
    platform::SendAll(socket.get(), sent, 1000);
    platform::EndSending(socket.get());
    std::string all;
    char piece[4096];
    for (std::size_t count = 1; count > 0; all.append(piece, count))
      if (platform::Receive(socket.get(), piece, sizeof piece, count) != ERROR_SUCCESS) break;
    return all;
  }

 private:
  testing::TestHome home_;
  std::optional<ProviderHost> host_;
  std::optional<Daemon> daemon_;
};

}  // namespace

void kelvarion::fuzz::Target(std::string_view bytes) {
  static const Served& served = *new Served;
  const std::string answer = served.Answer(bytes);
  fuzz::Expect(answer.empty() || answer.starts_with("HTTP/1.1 "), "the daemon speaks HTTP");
  fuzz::Expect(served
                   .Answer("POST /v1/get HTTP/1.1\r\nHost: h\r\nContent-Length: 14\r\n\r\n"
                           "{\"path\":\"X=@\"}")
                   .starts_with("HTTP/1.1 200 "),
               "the next client is served");
}
