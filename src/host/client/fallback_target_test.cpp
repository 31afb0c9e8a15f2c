#include "host/client/fallback_target.h"

#include <gtest/gtest.h>

#include <thread>

#include "host/client/daemon_client.h"
#include "host/wire.h"
#include "platform/network/local_socket.h"
#include "tests/support/temporary_folder.h"

namespace kelvarion::host {
namespace {

// Answers everything with a status that no daemon gives.
class OtherTarget final : public RequestTarget {
 public:
  static constexpr HRESULT kStatus = WBEM_E_NOT_FOUND;
  Reply Get(const std::u16string&, IWbemContext*, Observer*) override { return Answer(); }
  Reply Put(IWbemClassObject*, IWbemContext*, Observer*) override { return Answer(); }
  Reply Delete(const std::u16string&, IWbemContext*, Observer*) override { return Answer(); }
  Reply Enumerate(const std::u16string&, IWbemContext*, Observer*) override { return Answer(); }
  Reply Call(const std::u16string&, const std::u16string&, IWbemContext*, IWbemClassObject*,
             Observer*) override {
    return Answer();
  }

 private:
  static Reply Answer() {
    Reply reply;
    reply.status = kStatus;
    return reply;
  }
};

// A daemon that deals with one client as the test says, in the moment of its end.
class FallbackTargetTest : public ::testing::Test {
 protected:
  using EndOfDaemon = void (*)(platform::Descriptor& listener);

  HRESULT Delete(EndOfDaemon end) {
    platform::Descriptor listener;
    EXPECT_EQ(platform::ListenLocal(SocketPath(folder_.native()), listener), ERROR_SUCCESS);
    FallbackTarget target(ConnectToDaemon(folder_.native(), schema_),
                          [this]() -> RequestTarget& { return other_; });
    const std::jthread daemon([&] { end(listener); });
    return target.Delete(u"X.Name=\"x\"", nullptr, nullptr).status;
  }
  // The client, once it has begun to send; not before it is accepted.
  static platform::Descriptor Accept(const platform::Descriptor& listener, std::size_t bytes) {
    platform::Descriptor client;
    while (!client) platform::AcceptLocal(listener.get(), client);
    std::string request(4096, '\0');
    std::size_t count = 0;
    while (platform::Receive(client.get(), request.data(), bytes, count) != ERROR_SUCCESS)
      std::this_thread::yield();
    return client;
  }

  const testing::TemporaryFolder folder_;
  const std::shared_ptr<const Schema> schema_ =
      std::make_shared<const Schema>(KELVARION_SOURCE_DIR "/schema");
  OtherTarget other_;
};

TEST_F(FallbackTargetTest, WhatNobodyCarriedOutIsMadeElsewhere) {
  const struct {
    const char* what;
    EndOfDaemon end;
  } rows[] = {
      {"never accepted", [](platform::Descriptor& listener) { listener = platform::Descriptor(); }},
      {"read in part", [](platform::Descriptor& listener) { Accept(listener, 10); }},
      {"told so",
       [](platform::Descriptor& listener) {
         const auto client = Accept(listener, 4096);
         platform::SendAll(client.get(),
                           "HTTP/1.1 503 Ending\r\nContent-Length: 55\r\n\r\n"
                           "{\"status\":2147749939,\"statusText\":\"\",    \"error\":null}\n",
                           1000);
       }},
  };
  for (const auto& row : rows) EXPECT_EQ(Delete(row.end), OtherTarget::kStatus) << row.what;
}

TEST_F(FallbackTargetTest, WhatMayHaveBeenCarriedOutIsNotMadeTwice) {
  const auto end = [](platform::Descriptor& listener) { Accept(listener, 4096); };
  try {
    Delete(end);
    FAIL() << "made again";
  } catch (const WMIException& exception) {
    EXPECT_EQ(exception.status(), WBEM_E_TRANSPORT_FAILURE);
  }
}

}  // namespace
}  // namespace kelvarion::host
