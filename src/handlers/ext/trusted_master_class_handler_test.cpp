#include "handlers/ext/trusted_master_class_handler.h"

#include <gtest/gtest.h>

#include "tests/provider_host/provider_host.h"
#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

using Words = std::vector<std::string>;

TEST(TrustedMasterTest, WhatIsStoredIsShownWithoutThePasswordAndWhatCannotBeMeantIsRefused) {
  testing::TestHome home;
  testing::ProviderHost host(home.machine());
  const std::string name = "Kelvarion_TrustedMaster";
  const auto trust = [&](Words words) {
    words.emplace_back("Server=M.Example:81");
    return host.Call(name, "Trust", words);
  };
  for (const Words& refused : {Words{"Scheme=ftp"},
                               {"Scheme=svn", "Url=svn://m.example"},
                               {"Url=/srv/svn"},
                               {"Url=https://user@m.example"},
                               {"Password=secret"},
                               {"CertificateSha256=AB:CD"},
                               {"CertificateSha256=" + std::string(62, 'a') + "\u0141"}})
    EXPECT_NE(trust(refused).status, S_OK) << refused.front();
  EXPECT_TRUE(host.List(name).objects.empty());

  const std::string account = "Account=replicator", password = "Password=secret";
  EXPECT_EQ(trust({account, password, "Scheme=http"}).warnings.size(), 1U);
  const testing::Answer trusted =
      trust({account, password, "CertificateSha256=" + std::string(64, 'A')});
  ASSERT_EQ(trusted.status, S_OK);
  EXPECT_TRUE(trusted.warnings.empty());
  const std::string path = name + ".Server=\"m.EXAMPLE:81\"";
  const host::Json shown = host.Get(path).out();
  EXPECT_EQ(shown["Url"], "https://m.example:81/.kelvarion/replication");
  EXPECT_EQ(shown["CertificateSha256"], std::string(64, 'a'));
  EXPECT_EQ(shown["HasPassword"], true);
  EXPECT_EQ(shown.dump().find("secret"), std::string::npos);
  EXPECT_EQ(host.Call(path, "Forget").status, S_OK);
  EXPECT_EQ(host.Call(path, "Forget").status, WBEM_E_NOT_FOUND);
}

}  // namespace
}  // namespace kelvarion
