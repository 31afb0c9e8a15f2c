// A certificate's whole life, as an administrator and the clients of the server see it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/certificate_authority.h"
#include "tests/support/real_server.h"

namespace kelvarion::testing {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

class CertificateFlowTest : public ::testing::Test {
 protected:
  CertificateFlowTest() {
    ca.Make("root", "", kAuthority);
    ca.Make("inter", "root", kAuthority);
    server.scheme = "https";
    EXPECT_TRUE(server
                    .CallService("SetNetworkOptions", {"Port=" + std::to_string(server.ssl_port),
                                                       "UseSecureConnection=true",
                                                       "ListenIPAddressesArray:=[\"127.0.0.1\"]"})
                    .ok());
    server.Start();
  }

  // What a client sees that trusts nothing but the file.
  std::string Handshake(const std::string& trusted) const {
    return RunProcess({"openssl", "s_client", "-connect",
                       "127.0.0.1:" + std::to_string(server.ssl_port), "-showcerts", "-CAfile",
                       trusted, "-no-CApath", "-verify_hostname", "localhost"})
        .all();
  }
  bool Presents(const std::string& issuer, const std::string& trusted) const {
    std::string seen;
    const bool presented = Eventually([&] {
      seen = Handshake(trusted);
      return seen.find("i:CN = " + issuer + "\n") != seen.npos;
    });
    EXPECT_THAT(seen, HasSubstr("Verify return code: 0 (ok)"));
    return presented;
  }
  ProcessResult Certificate(std::vector<std::string> words) const {
    words.insert(words.begin(), "certificate");
    return server.Text(words);
  }

  CertificateAuthority ca;
  RealServer server;
};

TEST_F(CertificateFlowTest, AnAuthoritysCertificateIsRequestedImportedAndPresentedWithItsChain) {
  const std::string request = ca.File("request.pem");
  EXPECT_EQ(Certificate({"request", "--name", "localhost", "--out", request}).exit_code, 0);
  OpenSsl({"x509", "-req", "-in", request, "-copy_extensions", "copyall", "-CA",
           ca.File("inter.pem"), "-CAkey", ca.File("inter.key"), "-CAcreateserial", "-days", "30",
           "-out", ca.File("leaf.pem")});
  const std::vector<std::string> files = {ca.File("leaf.pem"), ca.File("inter.pem"),
                                          ca.File("root.pem")};
  const std::string old_certificate = ReadText(server.File("server/certs/server.pem"));
  const auto with_files = [&](std::vector<std::string> words) {
    words.insert(words.begin() + 1, files.begin(), files.end());
    return Certificate(words);
  };
  EXPECT_THAT(with_files({"check"}).out,
              AllOf(HasSubstr("the installed private key"), HasSubstr("inter, root (complete")));
  EXPECT_EQ(with_files({"import"}).exit_code, 2) << "it did not ask";
  EXPECT_EQ(ReadText(server.File("server/certs/server.pem")), old_certificate);
  EXPECT_THAT(with_files({"import", "--yes"}).out, HasSubstr("presents it once it is restarted"));
  EXPECT_THAT(Handshake(ca.File("root.pem")), Not(HasSubstr("CN = inter"))) << "too early";
  server.Restart();
  EXPECT_TRUE(Presents("inter", ca.File("root.pem")));
  EXPECT_TRUE(Presents("root", ca.File("root.pem"))) << "the chain is missing";
  const Json info = server.CallService("GetCertificateInformation").object()["ReturnValue"];
  EXPECT_EQ(info["IssuedTo"], "localhost");
  EXPECT_EQ(info["IssuedBy"], "inter");
  EXPECT_EQ(info["Base64Certificate"], ca.Text("leaf.pem"));
}

TEST_F(CertificateFlowTest, AnotherKeyIsTakenUpAndWhatCannotBeUsedIsRefused) {
  ca.Make("own", "inter", "subjectAltName=DNS:localhost\n");
  ca.Make("other", "inter", kServer);
  const struct {
    std::vector<std::string> words;
    int exit_code;
    const char* output;
  } steps[] = {
      {{"check", ca.File("own.pem")}, 1, "NO PRIVATE KEY belongs to it"},
      {{"import", ca.File("own.pem"), "--yes"}, 1, "no other private key was provided"},
      {{"import", ca.File("own.key"), "--yes"}, 1, "There is no certificate"},
      {{"import", server.File("registry.db"), "--yes"}, 2, "is not in PEM form"},
      {{"import", ca.File("own.pem"), "--key", ca.File("own.key"), "--yes"},
       0,
       "installed without intermediate certificates"},
      {{"import", ca.File("own.pem"), ca.File("inter.pem"), ca.File("root.pem"), "--key",
        ca.File("own.key"), "--yes", "--restart"},
       0,
       "EC 256, the installed private key"},
  };
  for (const auto& step : steps) {
    const ProcessResult result = Certificate(step.words);
    EXPECT_EQ(result.exit_code, step.exit_code) << result.all();
    EXPECT_THAT(result.all(), HasSubstr(step.output));
  }
  EXPECT_TRUE(Presents("inter", ca.File("root.pem")));
  // The key stays; a certificate that it signs itself must work for it as well.
  const ProcessResult created =
      Certificate({"create", "--name", "localhost", "--days", "40", "--yes", "--restart"});
  EXPECT_THAT(created.out, AllOf(HasSubstr("(39 days left)"), HasSubstr("signed by itself")));
  EXPECT_TRUE(Presents("localhost", server.File("server/certs/server.pem")));
}

}  // namespace
}  // namespace kelvarion::testing
