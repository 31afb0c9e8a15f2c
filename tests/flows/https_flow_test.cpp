// What clients meet on the wire: TLS, addresses and the place of repositories and start pages.
#include <gtest/gtest.h>

#include <span>
#include <thread>

#include "ormu/trust.h"
#include "svn/error.h"
#include "svn/pool.h"
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

  void Set(const std::vector<std::string>& parameters) const {
    const Reply set = server.Call("PS_SvnServerConfiguration", "Set", parameters);
    EXPECT_TRUE(set.ok()) << set.message() << set.warnings();
  }

  ProcessResult Svn(std::vector<std::string> arguments) const {
    arguments.emplace_back("--trust-server-cert-failures=unknown-ca,cn-mismatch");
    return server.Svn("alice", "secret", arguments);
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
  Set({"EnableSSL=true"});
  server.scheme = "https";
  EXPECT_TRUE(Eventually([&] { return Status(server.Url("demo/")) == 200; }));
  EXPECT_EQ(Status(plain), 0) << "the old port is still served";

  // Trusted by nothing but the file itself, which is how an administrator would hand it out.
  const std::string certificate = server.File("server/certs/server.pem");
  const ProcessResult shaken = Handshake({"-CAfile", certificate, "-verify_return_error"});
  EXPECT_NE(shaken.out.find("TLSv1.2"), std::string::npos) << shaken.all();
  EXPECT_NE(shaken.out.find("Verify return code: 0 (ok)"), std::string::npos) << shaken.all();
  // What whoever is to trust a master's server is shown.
  svn::Initialize();
  const std::string print =
      RunProcess({"sh", "-c", "openssl x509 -outform der -in " + certificate + " | sha256sum"}).out;
  const std::string name = "127.0.0.1:" + std::to_string(server.ssl_port);
  const ormu::ServerCertificate shown = ormu::FetchCertificate(name);
  EXPECT_EQ(shown.sha256 + "  -\n", print);
  EXPECT_FALSE(shown.vouched_for);
  // With an authority that vouches for it what counts is the name, as Subversion's client finds it:
  // it passes over the addresses that the certificate has.
  setenv("SSL_CERT_FILE", certificate.c_str(), 1);
  EXPECT_TRUE(ormu::FetchCertificate("localhost:" + std::to_string(server.ssl_port)).vouched_for);
  EXPECT_FALSE(ormu::FetchCertificate(name).vouched_for);
  unsetenv("SSL_CERT_FILE");
  for (const char* version : {"-tls1_1", "-tls1_3"})
    EXPECT_NE(Handshake({version}).exit_code, 0) << version;

  const std::string work = server.folder + "/work";
  const auto svn = [&](const std::vector<std::string>& arguments) {
    const ProcessResult result = Svn(arguments);
    EXPECT_EQ(result.exit_code, 0) << result.all();
  };
  EXPECT_NE(server.Svn("alice", "secret", {"ls", server.Url("demo")}).exit_code, 0)
      << "an unknown certificate was taken without a word";
  svn({"checkout", server.Url("demo"), work});
  WriteText(work + "/file", "words\n");
  RunProcess({"svn", "add", work + "/file"});
  svn({"commit", "-m", "First", work});

  Set({"EnableSSL=false"});
  EXPECT_TRUE(Eventually([&] { return Status(plain + "file") == 200; }));
  EXPECT_THROW(ormu::FetchCertificate("127.0.0.1:" + std::to_string(server.port)), SvnException);
}

// Each step is one call, which restarts the server; nobody waits for anything else.
TEST_F(HttpsFlowTest, ClientsAndStartPagesFollowEveryChange) {
  server.Start();
  const std::string http = ":" + std::to_string(server.port);
  const std::string https = ":" + std::to_string(server.ssl_port);
  const std::string other = ":" + std::to_string(FreePort());
  const std::string moved = server.folder + "/moved";
  RunProcess({"cp", "-a", server.root, moved});
  const struct {
    std::vector<std::string> change;
    std::string base;
    std::string prefix;
  } steps[] = {
      {{"EnableSSL=true"}, "https://127.0.0.1" + https, "/svn"},
      {{"ListenPort=" + other.substr(1)}, "https://127.0.0.1" + other, "/svn"},
      {{"ListeningIPAddress:=[\"127.0.0.2\"]"}, "https://127.0.0.2" + other, "/svn"},
      {{"RepositoriesURLPrefix=/r_2-B"}, "https://127.0.0.2" + other, "/r_2-B"},
      {{"RepositoriesURLPrefix="}, "https://127.0.0.2" + other, ""},
      {{"RepositoriesRoot=" + moved}, "https://127.0.0.2" + other, ""},
      {{"EnableSSL=false", "ListeningIPAddress:=[\"All\"]"}, "http://127.0.0.1" + http, ""},
      {{"EnableSSL=true", "RepositoriesURLPrefix=/svn"}, "https://127.0.0.1" + other, "/svn"},
      {{"EnableSSL=false", "ListeningIPAddress:=[\"::1\"]"}, "http://[::1]" + http, "/svn"},
  };
  std::string old_base = server.base();
  for (const auto& step : std::span(steps, std::size(steps) - (HasIpv6Loopback() ? 0 : 1))) {
    SCOPED_TRACE(step.change.front());
    Set(step.change);
    if (step.base != old_base) {
      EXPECT_TRUE(Eventually([&] { return Status(old_base + "/") == 0; })) << old_base;
    }
    old_base = step.base;
    const std::string demo = step.base + step.prefix + "/demo";
    const std::string folder = demo + "/" + std::to_string(&step - steps);
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"mkdir", "-m", "New", folder}, {"ls", folder}}) {
      const ProcessResult result = Svn(words);
      EXPECT_EQ(result.exit_code, 0) << result.all();
    }
    std::string page;
    EXPECT_EQ(Status(step.base + "/!/", &page), 200);
    EXPECT_NE(page.find("startSvnWebClient(\"" + step.prefix + "/\")"), std::string::npos) << page;
    EXPECT_EQ(Status(step.base + "/", &page), 200);
    if (!step.prefix.empty()) {
      EXPECT_NE(page.find("URL=" + step.prefix + "/\""), std::string::npos) << page;
      EXPECT_EQ(Status(step.base + "/other/demo/"), 404);
    }
    const std::string url = server.Ctl({"get", "Kelvarion_Repository.Name=\"demo\""})
                                .object()["URL"]
                                .get<std::string>();
    EXPECT_TRUE(url.ends_with(demo.substr(demo.rfind(':')) + "/")) << url;
  }
  EXPECT_FALSE(Svn({"ls", "file://" + moved + "/demo"}).out.empty());
  EXPECT_TRUE(Svn({"ls", "file://" + moved + "/demo/0"}).exit_code != 0) << "was made before";
}

// Two lists of addresses that overlap make each restart one with a new process.
TEST_F(HttpsFlowTest, ChangesThatComeAtOnceAllSucceed) {
  server.Start();
  std::vector<std::thread> clients;
  for (const char* address : {"All", "127.0.0.1", "127.0.0.2"}) {
    clients.emplace_back([this, address] {
      const std::string list = std::string("ListeningIPAddress:=[\"") + address + "\"]";
      for (int i = 0; i < 2; ++i) Set({list});
    });
  }
  for (std::thread& client : clients) client.join();
  const Json service = server.Service();
  EXPECT_EQ(service["ServiceState"], 4);
  const bool all = service["ListenAllIPAddresses"];
  const std::string address = all ? "127.0.0.1" : service["ListenIPAddressesArray"][0];
  EXPECT_EQ(Status("http://" + address + ":" + std::to_string(server.port) + "/svn/demo/"), 200);
}

}  // namespace
}  // namespace kelvarion::testing
