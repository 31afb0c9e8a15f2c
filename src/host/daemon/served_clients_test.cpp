#include "host/daemon/served_clients.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "access/windows_groups.h"
#include "config/registry_accessor.h"
#include "tests/support/test_home.h"

namespace kelvarion::host {
namespace {

TEST(ServedClientsTest, RootTheOwnerAndTheServerAdministratorsAreServed) {
  const testing::TestHome home;
  if (geteuid() == 0) {
    ASSERT_EQ(chown(home.folder().c_str(), 1234, 1234), 0);
  }
  const std::u16string owner = platform::OwnerSid(home.folder());
  platform::SecurityAuthority& accounts = *home.machine()->security;
  const ServedClients served(home.folder(), accounts);
  const ClientToken stranger{u"S-1-22-1-4000", {u"S-1-22-2-4000", u"S-1-22-2-4001"}};
  std::u16string helpers;
  accounts.CreateGroup(u"Helpers");
  ASSERT_EQ(accounts.LookupAccountName(u"Helpers", helpers), ERROR_SUCCESS);
  accounts.SetGroupMembers(u"Helpers", {u"S-1-22-1-1", u"S-1-22-2-2"});
  const struct {
    std::vector<std::u16string> members;
    ClientToken client;
    bool served;
  } rows[] = {
      {{}, {u"S-1-22-1-0", {}}, true},
      {{}, {owner, {}}, true},
      {{}, stranger, false},
      // The owner's group is not the owner, and a number alone no account.
      {{}, {u"S-1-22-1-4000", {u"S-1-22-2-1234", u"S-1-22-2-0"}}, false},
      {{u"S-1-22-1-4000"}, stranger, true},
      {{u"S-1-22-1-4001"}, stranger, false},
      {{u"S-1-22-2-4001"}, stranger, true},
      {{u"S-1-22-2-4002"}, stranger, false},
      {{u"S-1-1-0"}, stranger, true},
      {{helpers}, stranger, false},
      {{helpers}, {u"S-1-22-1-1", {}}, true},
      // Unix knows the user's groups, whichever of them the process has kept.
      {{u"S-1-22-2-1"}, {u"S-1-22-1-1", {}}, true},
      {{helpers}, {u"S-1-22-1-4000", {u"S-1-22-2-2"}}, true},
  };
  for (const auto& row : rows) {
    ASSERT_EQ(accounts.SetGroupMembers(access::kServerAdminsGroup, row.members), ERROR_SUCCESS);
    EXPECT_EQ(served.Includes(row.client), row.served) << (&row - rows);
  }
}

TEST(ServedClientsTest, ARefusalIsRecordedUnderTheClientUnlessFailuresAreSilenced) {
  const testing::TestHome home;
  const ClientToken stranger{u"S-1-22-1-4000", {}};
  const platform::KeyPath settings{platform::RootKey::kLocalMachine, kServerKeyPath};
  for (const std::uint32_t level : {0, 1}) {
    home.machine()->registry->Set(settings, u"WmiProviderLogLevel",
                                  platform::RegistryValue::Dword(level));
    Refusals(*home.machine()).Record(stranger);
  }
  std::vector<platform::EventRecord> records;
  home.machine()->event_log->Read({}, [&](const auto& record) { records.push_back(record); });
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0].id, 0xC00007D2);
  EXPECT_EQ(records[0].user_sid, stranger.user_sid);
}

}  // namespace
}  // namespace kelvarion::host
