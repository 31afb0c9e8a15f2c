#include "handlers/ext/trusted_master_class_handler.h"

#include <gtest/gtest.h>

#include "platform/text/encoding.h"
#include "tests/provider_host/provider_host.h"
#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

using Text = Property<std::u16string>;
using Inputs = std::vector<std::pair<const char16_t*, std::u16string>>;

TEST(TrustedMasterTest, WhatIsStoredIsShownWithoutThePasswordAndWhatCannotBeMeantIsRefused) {
  testing::TestHome home;
  testing::ProviderHost host(home.machine());
  const auto trust = [&](const Inputs& inputs) {
    return host.Call(u"Kelvarion_TrustedMaster", u"Trust", [&](WMIObject& in) {
      in.Set(Text{u"Server"}, u"M.Example:81");
      for (const auto& [name, value] : inputs) in.Set(Text{name}, value);
    });
  };
  for (const Inputs& refused : std::vector<Inputs>{
           {{u"Scheme", u"ftp"}},
           {{u"Scheme", u"svn"}, {u"Url", u"svn://m.example"}},
           {{u"Url", u"/srv/svn"}},
           {{u"Url", u"https://user@m.example"}},
           {{u"Password", u"secret"}},
           {{u"CertificateSha256", u"AB:CD"}},
           {{u"CertificateSha256", std::u16string(64, u'\u0141')}},
       })
    EXPECT_NE(trust(refused).status, S_OK) << platform::Utf8ForDisplay(refused[0].second);
  EXPECT_TRUE(host.Enumerate(u"Kelvarion_TrustedMaster").objects.empty());

  const Inputs login{{u"Account", u"replicator"}, {u"Password", u"secret"}};
  Inputs plain = login;
  plain.emplace_back(u"Scheme", u"http");
  EXPECT_EQ(trust(plain).warnings.size(), 1U);
  Inputs pinned = login;
  pinned.emplace_back(u"CertificateSha256", std::u16string(64, u'A'));
  const auto trusted = trust(pinned);
  ASSERT_EQ(trusted.status, S_OK);
  EXPECT_TRUE(trusted.warnings.empty());
  const std::u16string path = u"Kelvarion_TrustedMaster.Server=\"m.EXAMPLE:81\"";
  const WMIObject shown = host.Get(path).object();
  EXPECT_EQ(shown.Get(Text{u"Url"}), u"https://m.example:81/.kelvarion/replication");
  EXPECT_EQ(shown.Get(Text{u"CertificateSha256"}), std::u16string(64, u'a'));
  EXPECT_TRUE(shown.Get(Property<bool>{u"HasPassword"}));
  EXPECT_EQ(host.Call(path, u"Forget").status, S_OK);
  EXPECT_EQ(host.Call(path, u"Forget").status, WBEM_E_NOT_FOUND);
}

}  // namespace
}  // namespace kelvarion
