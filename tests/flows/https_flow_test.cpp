// What clients meet on the wire: TLS, addresses and the place of repositories and start pages.
#include <gtest/gtest.h>

#include <span>

#include "tests/support/ipv6.h"
#include "tests/support/real_server.h"

namespace kelvarion::testing {
namespace {

class HttpsFlowTest : public ::testing::Test {
 protected:
  HttpsFlowTest() {
    server.CreateUser("alice", "secret");
    EXPECT_TRUE(server.Call("Kelvarion_Repository", "Create", {"Name=demo"}).ok());
    EXPECT_TRUE(server.Ctl(RealServer::SetRules("demo", "/", {{"alice", 2}})).ok());
  }

  int Status(const std::string& url, std::string* body = nullptr) const {
    return server.HttpStatus("alice", "secret", url, body);
  }

  void UseTls(bool secure, const std::string& addresses) {
    server.scheme = secure ? "https" : "http";
    const Reply set = server.CallService(
        "SetNetworkOptions", {"Port=" + std::to_string(server.CurrentPort()),
                              std::string("UseSecureConnection=") + (secure ? "true" : "false"),
                              "ListenIPAddressesArray:=" + addresses});
    EXPECT_TRUE(set.ok()) << set.message();
  }

  ProcessResult Handshake(std::vector<std::string> options) const {
    std::vector<std::string> words = {"openssl", "s_client", "-connect",
                                      "127.0.0.1:" + std::to_string(server.ssl_port)};
    words.insert(words.end(), options.begin(), options.end());
    return RunProcess(words);
  }

  RealServer server;
};

TEST_F(HttpsFlowTest, ARunningServerGoesOverToTlsWithTheCertificateOfInitAndBack) {
  server.Start();
  const std::string plain = server.Url("demo/");
  EXPECT_EQ(Status(plain), 200);
  UseTls(true, "[\"127.0.0.1\"]");
  server.Restart();
  EXPECT_TRUE(Eventually([&] { return Status(server.Url("demo/")) == 200; }));
  EXPECT_EQ(Status(plain), 0) << "the old port is still served";

  // Trusted by nothing but the file itself, which is how an administrator would hand it out.
  const std::string certificate = server.File("server/certs/server.pem");
  const ProcessResult shaken = Handshake({"-CAfile", certificate, "-verify_return_error"});
  EXPECT_NE(shaken.out.find("TLSv1.2"), std::string::npos) << shaken.all();
  EXPECT_NE(shaken.out.find("Verify return code: 0 (ok)"), std::string::npos) << shaken.all();
  for (const char* version : {"-tls1_1", "-tls1_3"})
    EXPECT_NE(Handshake({version}).exit_code, 0) << version;

  const std::string work = server.folder + "/work";
  const std::vector<std::string> trust = {"--trust-server-cert-failures=unknown-ca,cn-mismatch"};
  const auto svn = [&](std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), trust.begin(), trust.end());
    const ProcessResult result = server.Svn("alice", "secret", arguments);
    EXPECT_EQ(result.exit_code, 0) << result.all();
  };
  EXPECT_NE(server.Svn("alice", "secret", {"ls", server.Url("demo")}).exit_code, 0)
      << "an unknown certificate was taken without a word";
  svn({"checkout", server.Url("demo"), work});
  WriteText(work + "/file", "words\n");
  RunProcess({"svn", "add", work + "/file"});
  svn({"commit", "-m", "First", work});

  UseTls(false, "[\"127.0.0.1\"]");
  server.Restart();
  EXPECT_TRUE(Eventually([&] { return Status(plain + "file") == 200; }));
}

TEST_F(HttpsFlowTest, OnlyTheChosenAddressesAreServed) {
  const auto at = [&](const char* host) {
    return Status(std::string("http://") + host + ":" + std::to_string(server.port) + "/svn/demo/");
  };
  server.Start();
  EXPECT_EQ(at("127.0.0.1"), 200);  // The default of init.
  EXPECT_EQ(at("127.0.0.2"), 0);
  const bool ipv6 = HasIpv6Loopback();
  const struct {
    const char* addresses;
    int first, second, sixth;
  } rows[] = {
      {"[\"127.0.0.2\"]", 0, 200, 0},
      {"[\"127.0.0.1\",\"127.0.0.2\"]", 200, 200, 0},
      {"null", 200, 200, ipv6 ? 200 : 0},
      {"[\"::1\"]", 0, 0, 200},
  };
  for (const auto& row : std::span(rows, std::size(rows) - (ipv6 ? 0 : 1))) {
    UseTls(false, row.addresses);
    server.Restart();
    EXPECT_TRUE(Eventually([&] {
      return at("127.0.0.1") == row.first && at("127.0.0.2") == row.second &&
             at("[::1]") == row.sixth;
    })) << row.addresses
        << at("127.0.0.1") << at("127.0.0.2") << at("[::1]");
  }
}

TEST_F(HttpsFlowTest, RepositoriesAndStartPagesFollowThePrefix) {
  const std::string port = ":" + std::to_string(server.port);
  server.Start();
  for (const std::string prefix : {"/svn", "/r_2-B", ""}) {
    EXPECT_TRUE(
        server.CallService("SetRepositoriesURLPrefix", {"RepositoriesURLPrefix=" + prefix}).ok());
    server.Restart();
    const std::string url = server.base() + prefix + "/demo";
    EXPECT_TRUE(Eventually([&] { return Status(url + "/") == 200; })) << prefix;
    const Reply demo = server.Ctl({"get", "Kelvarion_Repository.Name=\"demo\""});
    EXPECT_TRUE(demo.object()["URL"].get<std::string>().ends_with(port + prefix + "/demo/"));
    const ProcessResult made = server.Svn("alice", "secret", {"mkdir", "-m", "New", url + prefix});
    EXPECT_EQ(made.exit_code == 0, !prefix.empty()) << made.all();
    std::string page;
    EXPECT_EQ(Status(server.base() + "/!/", &page), 200) << prefix;
    EXPECT_NE(page.find("startSvnWebClient(\"" + prefix + "/\")"), std::string::npos) << page;
    EXPECT_EQ(Status(server.base() + "/", &page), 200) << prefix;
    if (!prefix.empty()) {
      EXPECT_NE(page.find("URL=" + prefix + "/\""), std::string::npos) << page;
      EXPECT_EQ(Status(server.base() + "/other/demo/"), 404) << prefix;
    }
  }
  for (const std::string refused : {"/", "svn", "/svn/", "/a/b", "/svn.1", "/a b", "/ä"}) {
    const Reply reply =
        server.CallService("SetRepositoriesURLPrefix", {"RepositoriesURLPrefix=" + refused});
    EXPECT_EQ(reply.status(), 0x8004102F) << refused;
    EXPECT_TRUE(reply.message().starts_with("Invalid repositories URL prefix")) << refused;
  }
  EXPECT_EQ(server.Service()["RepositoriesURLPrefix"], "");
}

}  // namespace
}  // namespace kelvarion::testing
