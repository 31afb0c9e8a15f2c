#include "platform/network/local_socket.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "platform/security/security.h"
#include "tests/support/temporary_folder.h"

namespace kelvarion::platform {
namespace {

namespace fs = std::filesystem;

class LocalSocketTest : public ::testing::Test {
 protected:
  LocalSocketTest() { fs::create_directory(folder_); }

  testing::TemporaryFolder top_;
  // Longer than an address is.
  const fs::path folder_ = fs::path(top_.native()) / std::string(120, 'x');
  const std::string path_ = folder_ / "name";
};

TEST_F(LocalSocketTest, AnybodyMayConnectAndIsKnown) {
  Descriptor listener;
  Descriptor client;
  Descriptor server;
  EXPECT_EQ(ConnectLocal(path_, client), ERROR_FILE_NOT_FOUND);
  ASSERT_EQ(ListenLocal(path_, listener), ERROR_SUCCESS);
  EXPECT_EQ(fs::status(path_).permissions(), fs::perms(0666));
  EXPECT_EQ(AcceptLocal(listener.get(), server), ERROR_SUCCESS);
  EXPECT_FALSE(server) << "nobody is there";
  ASSERT_EQ(ConnectLocal(path_, client), ERROR_SUCCESS);
  ASSERT_EQ(AcceptLocal(listener.get(), server), ERROR_SUCCESS);
  ASSERT_TRUE(server);
  ClientToken peer;
  ASSERT_EQ(PeerToken(server.get(), peer), ERROR_SUCCESS);
  EXPECT_EQ(peer.user_sid, CurrentUserSid());
  EXPECT_FALSE(peer.group_sids.empty());

  // A listener that is gone leaves a name that nobody answers to, for the next one to take.
  listener = Descriptor();
  EXPECT_EQ(ConnectLocal(path_, client), ERROR_FILE_NOT_FOUND);
  Descriptor next;
  ASSERT_EQ(ListenLocal(path_, next), ERROR_SUCCESS);
  EXPECT_EQ(ConnectLocal(path_, client), ERROR_SUCCESS);
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_), {}), 1);
}

TEST_F(LocalSocketTest, ACounterpartThatTakesNothingOrIsGoneIsNoticed) {
  Descriptor listener;
  Descriptor client;
  Descriptor server;
  ASSERT_EQ(ListenLocal(path_, listener), ERROR_SUCCESS);
  ASSERT_EQ(ConnectLocal(path_, client), ERROR_SUCCESS);
  ASSERT_EQ(AcceptLocal(listener.get(), server), ERROR_SUCCESS);
  const std::string much(8 << 20, 'x');
  EXPECT_EQ(SendAll(server.get(), much, 1), ERROR_SERVICE_REQUEST_TIMEOUT);
  client = Descriptor();
  EXPECT_EQ(SendAll(server.get(), much, 1), ERROR_WRITE_FAULT);
}

}  // namespace
}  // namespace kelvarion::platform
