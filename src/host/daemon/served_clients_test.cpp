#include "host/daemon/served_clients.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "access/windows_groups.h"
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
  };
  for (const auto& row : rows) {
    ASSERT_EQ(accounts.SetGroupMembers(access::kServerAdminsGroup, row.members), ERROR_SUCCESS);
    EXPECT_EQ(served.Includes(row.client), row.served) << (&row - rows);
  }
}

}  // namespace
}  // namespace kelvarion::host
