#include "platform/services/listeners.h"

#include <gtest/gtest.h>

#include "platform/services/service_home_for_test.h"
#include "tests/support/ports.h"
#include "tests/support/temporary_folder.h"

namespace kelvarion::platform {
namespace {

TEST(ListenersTest, AddressesAreReadThroughIncludesInEveryNotation) {
  const testing::TemporaryFolder temporary;
  const std::filesystem::path folder = temporary.native();
  std::ofstream(folder / "main.conf") << "ServerRoot " << folder << "\n"
                                      << "Listen 80\n# Listen 81\nInclude more.conf\n"
                                      << "Include missing.conf\nInclude main.conf\n";
  std::ofstream(folder / "more.conf") << "Listen \"127.0.0.1:8080\"\r\n  listen [::1]:8181\r\n"
                                      << "Listen \"::1:8182\"\r\nListen *:8183 http\r\n"
                                      << "Listen nowhere\r\nListenBacklog 511\r\n";
  const std::vector<ListenAddress> once{
      {"", 80}, {"127.0.0.1", 8080}, {"::1", 8181}, {"::1", 8182}, {"", 8183}};
  std::vector<ListenAddress> read = ReadListenAddresses(folder / "main.conf");
  ASSERT_GE(read.size(), once.size());
  read.resize(once.size());  // A file that includes itself is read a few times, not for ever.
  EXPECT_EQ(read, once);
}

TEST(ListenersTest, WhatTheServerHoldsItselfIsNoObstacle) {
  const testing::HeldPort held;
  const ProcessIdentity us = IdentityOf(getpid());
  const ProcessIdentity other = IdentityOf(getppid());
  const struct {
    const char* what;
    ListenAddress address;
    ProcessIdentity server;
    ListenVerdict verdict;
  } rows[] = {
      {"held by the server", {"127.0.0.1", held.port}, us, ListenVerdict::kReady},
      {"overlaps what the server holds", {"", held.port}, us, ListenVerdict::kHeldByUs},
      {"held by a stranger", {"127.0.0.1", held.port}, other, ListenVerdict::kRefused},
      {"overlaps a stranger's", {"", held.port}, other, ListenVerdict::kRefused},
      {"another address of the port", {"127.0.0.2", held.port}, other, ListenVerdict::kReady},
      {"free", {"", testing::HeldPort().port}, us, ListenVerdict::kReady},
      {"not of this machine", {"192.0.2.1", held.port}, us, ListenVerdict::kRefused},
  };
  for (const auto& row : rows) {
    std::string reason;
    EXPECT_EQ(CheckListenAddresses({row.address}, row.server, reason), row.verdict) << row.what;
    EXPECT_EQ(reason.empty(), row.verdict != ListenVerdict::kRefused) << row.what;
  }
}

}  // namespace
}  // namespace kelvarion::platform
