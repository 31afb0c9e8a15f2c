// Listings whose client wants no more.
#include <gtest/gtest.h>

#include "access/groups.h"
#include "access/users.h"
#include "repos/create.h"
#include "tests/provider_host/provider_host.h"
#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

TEST(CancelledListingTest, EndsAfterTheObjectAtHand) {
  const testing::TestHome home;
  const testing::ProviderHost host{home.machine()};
  for (const char16_t* name : {u"one", u"two", u"three"}) {
    repos::CreateRepository(home.context(), name);
    access::CreateUser(home.context(), name, u"secret");
    access::CreateGroup(home.context(), name, {});
  }
  for (const char16_t* name : {u"Kelvarion_Repository", u"Kelvarion_User", u"Kelvarion_Group"}) {
    bool cancelled = false;
    const testing::Answer answer = host.Enumerate(
        name, nullptr,
        {.on_indicate = [&] { cancelled = true; }, .is_cancelled = [&] { return cancelled; }});
    EXPECT_EQ(answer.status, WBEM_E_CALL_CANCELLED);
    EXPECT_EQ(answer.objects.size(), 1u);
  }
}

}  // namespace
}  // namespace kelvarion
