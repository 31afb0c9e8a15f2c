#include "host/daemon/daemon.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <future>
#include <semaphore>
#include <thread>

#include "host/client/daemon_client.h"
#include "host/client/http_exchange.h"
#include "host/fake_provider_for_test.h"
#include "host/text.h"
#include "host/wire.h"
#include "platform/network/local_socket.h"
#include "provider/class_ids.h"
#include "tests/support/test_home.h"

namespace kelvarion::host {
namespace {

using ::testing::HasSubstr;

// A daemon in the process of the test, whose provider does what the test says.
class DaemonTest : public ::testing::Test {
 protected:
  ~DaemonTest() override { Stop(); }

  void Start(const DaemonLimits& limits) {
    CoRegisterClassObject(CLSID_KelvarionWMIProvider, MakeCom<FakeFactory>(provider_));
    host_.emplace(home_.machine(), schema_);
    daemon_ = std::make_unique<Daemon>(home_.folder(), *host_, limits);
    ended_ = std::async(std::launch::async, [this] { return daemon_->Run(); });
  }
  bool Stop() {
    if (!daemon_) return true;
    daemon_->Stop();
    const bool none = ended_.get();
    daemon_.reset();
    return none;
  }

  platform::Descriptor Connect() const {
    platform::Descriptor socket;
    EXPECT_EQ(platform::ConnectLocal(SocketPath(home_.folder()), socket), ERROR_SUCCESS);
    return socket;
  }
  // The lines of one answer.
  static std::vector<Json> Ask(const platform::Descriptor& socket, const std::string& target,
                               const std::string& body) {
    std::vector<Json> lines;
    Exchange(socket.get(), target, body, [&](const Json& line) { lines.push_back(line); });
    return lines;
  }
  // The status of a request over a connection of its own.
  std::uint32_t Status(const std::string& target, const std::string& body) const {
    return Ask(Connect(), target, body).back()["status"];
  }
  // Everything that comes back until the connection is closed.
  std::string Raw(const std::string& sent) const {
    const platform::Descriptor socket = Connect();
    platform::SendAll(socket.get(), sent, 1000);
    std::string all(4096, '\0');
    std::size_t size = 0;
    for (std::size_t count = 1; count > 0; size += count)
      if (platform::Receive(socket.get(), all.data() + size, all.size() - size, count)) break;
    return all.substr(0, size);
  }

  // The provider's method until it is cancelled: progress without end.
  void RunUntilCancelled() {
    provider_->method = [this](const std::u16string&, IWbemContext*, IWbemClassObject*,
                               IWbemObjectSink* sink) {
      const auto extended = ComPtr<IWbemObjectSink>(sink).As<IWbemObjectSinkEx>();
      while (extended->WriteProgress(nullptr, nullptr, nullptr, 50, -1) == S_OK)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      cancelled_.release();
      return sink->SetStatus(WBEM_STATUS_COMPLETE, WBEM_E_FAILED, nullptr, nullptr);
    };
  }
  // One that has nothing to report: all it does is ask.
  void AskUntilCancelled() {
    provider_->method = [this](const std::u16string&, IWbemContext*, IWbemClassObject*,
                               IWbemObjectSink* sink) {
      running_.release();
      const auto cancellable = ComPtr<IWbemObjectSink>(sink).As<IcCancellableSink>();
      while (!cancellable->IsCancelled()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
      cancelled_.release();
      return sink->SetStatus(WBEM_STATUS_COMPLETE, WBEM_E_FAILED, nullptr, nullptr);
    };
  }

  testing::TestHome home_;
  std::shared_ptr<const Schema> schema_ =
      std::make_shared<const Schema>(KELVARION_SOURCE_DIR "/schema");
  ComPtr<FakeProvider> provider_ = MakeCom<FakeProvider>();
  std::optional<ProviderHost> host_;
  std::unique_ptr<Daemon> daemon_;
  std::future<bool> ended_;
  std::binary_semaphore running_{0};
  std::binary_semaphore cancelled_{0};
};

const std::string kLongCall = R"({"path":"X","method":"Long"})";
const std::string kCallTarget = "/v1/call";

TEST_F(DaemonTest, TheClientIsTheAccountAtTheOtherEnd) {
  Start({});
  EXPECT_EQ(Status("/v1/get", R"({"path":"X=@"})"), 0u);
  EXPECT_EQ(provider_->client.user_sid, platform::CurrentUserSid());
}

// Whether the work reports progress or only asks.
TEST_F(DaemonTest, AVanishedClientCancelsItsRequest) {
  Start({});
  RunUntilCancelled();
  struct Gone {};
  const auto leave = [](const Json& line) {
    EXPECT_EQ(line["progress"]["percentComplete"], 50);
    throw Gone();
  };
  EXPECT_THROW(Exchange(Connect().get(), kCallTarget, kLongCall, leave), Gone);
  cancelled_.acquire();

  Stop();
  AskUntilCancelled();
  Start({});
  {
    const platform::Descriptor socket = Connect();
    platform::SendAll(socket.get(),
                      "POST " + kCallTarget + " HTTP/1.1\r\nContent-Length: " +
                          std::to_string(kLongCall.size()) + "\r\n\r\n" + kLongCall,
                      1000);
    running_.acquire();
  }
  cancelled_.acquire();
}

// As Ctrl-C in a client does it: it stops sending and goes on reading.
TEST_F(DaemonTest, AnInterruptedClientWaitsForTheEndOfWhatItCancelled) {
  struct Interrupting final : Observer {
    void OnWarning(const std::u16string&) override {}
    void OnProgress(const Progress&) override {
      if (!std::exchange(done, true)) raise(SIGINT);
    }
    bool done = false;
  };
  Start({});
  RunUntilCancelled();
  const auto client = ConnectToDaemon(home_.folder(), schema_);
  ASSERT_TRUE(client);
  Interrupting observer;
  const Reply reply = client->Call(u"X", u"Long", nullptr, nullptr, &observer);
  EXPECT_EQ(reply.status, WBEM_E_FAILED);
  EXPECT_FALSE(reply.progress.empty());
  EXPECT_TRUE(cancelled_.try_acquire());
}

TEST_F(DaemonTest, OverloadIsRefusedAndTheConnectionGoesOn) {
  DaemonLimits limits;
  limits.running = 1;
  Start(limits);
  std::binary_semaphore running{0};
  std::binary_semaphore finish{0};
  provider_->method = [&](const std::u16string&, IWbemContext*, IWbemClassObject*,
                          IWbemObjectSink* sink) {
    running.release();
    finish.acquire();
    return sink->SetStatus(WBEM_STATUS_COMPLETE, S_OK, nullptr, nullptr);
  };
  auto first = std::async(std::launch::async,
                          [this] { return Status(kCallTarget, R"({"path":"X","method":"M"})"); });
  running.acquire();
  const platform::Descriptor second = Connect();
  const auto refused = Ask(second, "/v1/get", R"({"path":"X=@"})");
  EXPECT_EQ(refused.back()["status"], static_cast<std::uint32_t>(WBEM_E_SERVER_TOO_BUSY));
  EXPECT_THAT(refused.back()["error"]["Description"], HasSubstr("Too many"));
  finish.release();
  EXPECT_EQ(first.get(), 0u);
  // The place is free again a moment after the answer has arrived.
  while (Ask(second, "/v1/get", R"({"path":"X=@"})").back()["status"] != 0)
    std::this_thread::yield();
}

TEST_F(DaemonTest, WhatIsNoRequestIsRefusedWithTheReason) {
  DaemonLimits limits;
  limits.request_bytes = 1000;
  Start(limits);
  const struct {
    const char* target;
    std::string body;
    HRESULT status;
  } rows[] = {
      {"/v1/get", "{", WBEM_E_INVALID_PARAMETER},
      {"/v1/invent", "{}", WBEM_E_NOT_SUPPORTED},
      {"/", "{}", WBEM_E_NOT_SUPPORTED},
      {"/v1/put", R"({"object":{"__CLASS":"Nothing"}})", WBEM_E_FAILED},
      {"/v1/get", std::string(1001, ' '), WBEM_E_QUOTA_VIOLATION},
  };
  for (const auto& row : rows)
    EXPECT_EQ(Status(row.target, row.body), static_cast<std::uint32_t>(row.status)) << row.body;
  EXPECT_THAT(Raw("GET /v1/get HTTP/1.1\r\nHost: x\r\n\r\n"), HasSubstr(" 405 "));
  EXPECT_THAT(Raw("POST /v1/get HTTP/1.0\r\nContent-Length: 0\r\n\r\n"), HasSubstr(" 505 "));
  EXPECT_THAT(Raw("Hello?\r\n\r\n"), HasSubstr(" 400 "));
  EXPECT_THAT(Raw("POST / HTTP/1.1\r\nX: " + std::string(20'000, 'x')), HasSubstr(" 400 "));
}

TEST_F(DaemonTest, ConnectionsAreLimitedInNumberAndInIdleTime) {
  DaemonLimits limits;
  limits.connections = 1;
  limits.idle = std::chrono::seconds(1);
  Start(limits);
  const platform::Descriptor idle = Connect();
  EXPECT_EQ(Ask(idle, "/v1/get", R"({"path":"X=@"})").back()["status"], 0u);
  EXPECT_THAT(Raw(""), HasSubstr(" 503 "));
  char byte = 0;
  std::size_t count = 1;
  EXPECT_EQ(platform::Receive(idle.get(), &byte, 1, count), ERROR_SUCCESS);
  EXPECT_EQ(count, 0u) << "not closed";
}

TEST_F(DaemonTest, StoppingCancelsWhatRunsAndTakesTheSocketAway) {
  DaemonLimits limits;
  limits.finish = std::chrono::milliseconds(0);
  Start(limits);
  RunUntilCancelled();
  const platform::Descriptor socket = Connect();
  const platform::Descriptor other = Connect();
  std::uint32_t status = 0;
  Exchange(socket.get(), kCallTarget, kLongCall, [&](const Json& line) {
    if (line.contains("progress")) daemon_->Stop();
    status = line.value("status", 0u);
  });
  EXPECT_EQ(status, static_cast<std::uint32_t>(WBEM_E_FAILED));
  EXPECT_TRUE(Stop());
  EXPECT_FALSE(std::filesystem::exists(SocketPath(home_.folder())));
  EXPECT_EQ(ConnectToDaemon(home_.folder(), schema_), nullptr);
}

}  // namespace
}  // namespace kelvarion::host
