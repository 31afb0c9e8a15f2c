#include "host/init_certificate.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/certificate_authority.h"
#include "tests/support/test_home.h"

namespace kelvarion::host {
namespace {

using kelvarion::testing::OpenSsl;
using ::testing::HasSubstr;

TEST(MakeInitialCertificateTest, KeyAndCertificateBelongTogetherAndNameTheServer) {
  const kelvarion::testing::TemporaryFolder folder;
  const std::string file = folder.native() + "/server.pem";
  for (const std::string name : {"svn.example.org", "192.0.2.7"}) {
    kelvarion::testing::WriteFile(file, MakeInitialCertificate(name));
    EXPECT_EQ(OpenSsl({"pkey", "-in", file, "-pubout"}),
              OpenSsl({"x509", "-in", file, "-noout", "-pubkey"}));
    EXPECT_THAT(OpenSsl({"pkey", "-in", file, "-noout", "-text"}), HasSubstr("3072 bit"));
    const std::string option = name[0] == 's' ? "-verify_hostname" : "-verify_ip";
    for (const auto& [check, value] :
         {std::pair(option, name), {"-verify_hostname", "localhost"}, {"-verify_ip", "::1"}})
      EXPECT_THAT(OpenSsl({"verify", "-CAfile", file, "-purpose", "sslserver", check, value, file}),
                  HasSubstr(": OK"));
    EXPECT_ANY_THROW(OpenSsl({"verify", "-CAfile", file, "-verify_hostname", "other.org", file}));
  }
}

}  // namespace
}  // namespace kelvarion::host
