#include "platform/security/accounts.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "platform/security/security.h"

namespace kelvarion::platform {
namespace {

constexpr const char* kSelf = "KELVARION_TEST_ACCOUNTS";

// Accounts of a system of our own: the same program once more, under a library that invents them.
bool WithInventedAccounts() {
  if (std::getenv(kSelf)) return true;
  const auto folder =
      std::filesystem::temp_directory_path() / ("kv-accounts-" + std::to_string(getpid()));
  std::filesystem::create_directory(folder);
  std::ofstream(folder / "passwd") << "alice:x:4001:4001:::\nboth:x:4002:4001:::\n"
                                   << "CORP\\zoë:x:4003:4001:::\n";
  std::ofstream group(folder / "group");
  group << "staff:x:4001:alice\nboth:x:4005:\nlarge:x:4006:";
  for (int i = 0; i < 5000; ++i) group << (i ? "," : "") << "member" << i;
  group << "\n";
  group.close();
  const std::string command = std::string(kSelf) + "=1 LD_PRELOAD=libnss_wrapper.so" +
                              " NSS_WRAPPER_PASSWD=" + (folder / "passwd").string() +
                              " NSS_WRAPPER_GROUP=" + (folder / "group").string() +
                              " NSS_WRAPPER_DISABLE_DEEPBIND=1"
                              " ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0"
                              " TSAN_OPTIONS=report_mutex_bugs=0 " +  // Bugs of that library.
                              std::filesystem::read_symlink("/proc/self/exe").string() +
                              " --gtest_filter=AccountsTest.UnixAccounts* >&2";
  EXPECT_EQ(std::system(command.c_str()), 0);  // NOLINT: a command of the test's own
  std::filesystem::remove_all(folder);
  return false;
}

TEST(AccountsTest, UnixAccountsResolveBothWays) {
  if (!WithInventedAccounts()) return;
  const struct {
    std::u16string name;
    std::u16string sid;  // Empty when there is no such account.
  } rows[] = {
      {u"alice", u"S-1-22-1-4001"},
      {u".\\alice", u"S-1-22-1-4001"},
      {HostName() + u"\\alice", u"S-1-22-1-4001"},
      {HostName() + u".example.org\\alice", u"S-1-22-1-4001"},
      {u"Unix User\\alice", u"S-1-22-1-4001"},
      {u"Unix Group\\alice", u""},
      {u"Alice", u""},
      {u"staff", u"S-1-22-2-4001"},
      {u"Unix User\\staff", u""},
      {u"both", u"S-1-22-1-4002"},
      {u"unix group\\both", u"S-1-22-2-4005"},
      {u"large", u"S-1-22-2-4006"},
      {u"CORP\\zoë", u"S-1-22-1-4003"},
      {u"CORP\\alice", u""},
      {u"", u""},
      {u"\\", u""},
      {std::u16string(u"alice\0x", 7), u""},
  };
  for (const auto& row : rows) {
    const std::optional<Sid> sid = FindUnixAccount(SplitAccountName(row.name));
    EXPECT_EQ(sid ? ToText(*sid) : u"", row.sid);
  }
  const auto user = UnixAccountName(UserSid(4002));
  ASSERT_TRUE(user);
  EXPECT_EQ(user->domain + u"/" + user->name, u"Unix User/both");
  const auto group = UnixAccountName(GroupSid(4006));
  ASSERT_TRUE(group);
  EXPECT_EQ(group->domain + u"/" + group->name, u"Unix Group/large");
  EXPECT_FALSE(UnixAccountName(UserSid(4999)));
  EXPECT_FALSE(UnixAccountName(*ParseSid(u"S-1-5-21-1-2-3-4001")));
}

TEST(AccountsTest, WellKnownAccountsAreKnownInAnyCaseAndUnderTheirDomain) {
  const struct {
    AccountName name;
    const char16_t* sid;  // Null when it is none of them.
  } rows[] = {
      {{u"", u"everyone"}, kSidEveryone},
      {{u"", u"System"}, kSidLocalSystem},
      {{u"nt authority", u"SYSTEM"}, kSidLocalSystem},
      {{u"BUILTIN", u"administrators"}, kSidBuiltinAdministrators},
      {{u"NT AUTHORITY", u"Administrators"}, nullptr},
      {{u"BUILTIN", u"Everyone"}, nullptr},
  };
  for (const auto& row : rows) {
    const auto sid = FindWellKnown(row.name);
    EXPECT_EQ(sid.value_or(u"none"), row.sid ? row.sid : u"none");
  }
  EXPECT_EQ(WellKnownName(kSidNetworkService)->name, u"NETWORK SERVICE");
}

}  // namespace
}  // namespace kelvarion::platform
