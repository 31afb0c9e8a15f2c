// What administrators bring and have made, judged by the openssl program.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "certificate/certificate_state.h"
#include "certificate/new_certificate.h"
#include "platform/text/encoding.h"
#include "tests/support/certificate_authority.h"
#include "tests/support/failure.h"
#include "tests/support/test_home.h"

namespace kelvarion::certificate {
namespace {

using testing::CertificateAuthority;
using testing::kAuthority;
using testing::kServer;
using testing::OpenSsl;
using testing::ReadFile;
using testing::WriteFile;

std::string Utf8(const std::u16string& text) { return platform::Utf8ForDisplay(text); }

bool Has(const std::string& text, const std::string& part) { return text.find(part) != text.npos; }

struct Row {
  const char* text;       // The files that it is made of.
  const char* validated;  // The result, or a part of the message.
  const char* imported;   // A part of the message; "" when it is installed.
  const char* chain;
};

class CertificateTest : public ::testing::Test {
 protected:
  CertificateTest() {
    ca_.Make("root", "", kAuthority);
    ca_.Make("inter", "root", kAuthority);
    std::filesystem::create_directories(home_.install_folder() + "/certs");
    OpenSsl({"genpkey", "-algorithm", "RSA", "-out", ca_.File("rsa.key")});
    ca_.MakeFor(ca_.File("rsa.key"), "rsa", "", kServer);
    InstallByHand("rsa.key rsa.pem");
  }

  void InstallByHand(const std::string& names, const std::string& chain = "\n") {
    WriteFile(ServerFile(), ca_.Text(names));
    chmod(ServerFile().c_str(), 0600);
    WriteFile(ChainFile(), chain);
  }
  std::string ServerFile() const { return home_.install_folder() + "/certs/server.pem"; }
  std::string ChainFile() const { return home_.install_folder() + "/certs/certchain.pem"; }
  std::string Both() const { return ReadFile(ServerFile()) + "|" + ReadFile(ChainFile()); }

  template <class Action>
  static std::string Failure(const Action& action) {
    return Utf8(testing::MessageOf(action));
  }
  std::string Import(const std::string& text) {
    return Failure([&] { ImportCertificate(home_.context(), platform::Utf16ForDisplay(text)); });
  }
  // The number, or the message of what it throws.
  std::string Validate(const std::string& text) {
    KeyMatch match{};
    const std::string failure = Failure(
        [&] { match = ValidateCertificate(home_.context(), platform::Utf16ForDisplay(text)); });
    return failure.empty() ? std::to_string(static_cast<int>(match)) : failure;
  }
  void ExpectPrivateAndAlone() {
    EXPECT_EQ(std::filesystem::status(ServerFile()).permissions(), std::filesystem::perms(0600));
    const std::filesystem::directory_iterator files(home_.install_folder() + "/certs");
    EXPECT_EQ(std::distance(begin(files), end(files)), 2) << "something was left behind";
  }
  std::string InstalledText() { return OpenSsl({"x509", "-in", ServerFile(), "-noout", "-text"}); }

  void MakePieces() {
    const std::string installed = ca_.File("rsa.key");
    ca_.Make("second", "inter", kAuthority);
    ca_.MakeFor(installed, "leaf", "inter", kServer);
    ca_.MakeFor(installed, "deep", "second", kServer);
    ca_.MakeFor(installed, "direct", "root", "");
    ca_.MakeFor(installed, "expired", "inter", kServer, -1);
    ca_.MakeFor(installed, "client", "inter", "extendedKeyUsage=clientAuth\n");
    ca_.Make("own", "inter", kServer);
    OpenSsl({"ecparam", "-genkey", "-name", "prime256v1", "-out", ca_.File("parameters.key")});
    ca_.MakeFor(ca_.File("parameters.key"), "parameters", "inter", kServer);
    OpenSsl({"pkey", "-in", ca_.File("own.key"), "-aes128", "-passout", "pass:x", "-out",
             ca_.File("encrypted.key")});
    OpenSsl({"pkey", "-in", ca_.File("own.key"), "-pubout", "-out", ca_.File("public.key")});
    OpenSsl({"genrsa", "-out", ca_.File("weak.key"), "1024"});
    ca_.MakeFor(ca_.File("weak.key"), "weak", "", "");
    ca_.Make("mute", "inter", "keyUsage=keyEncipherment\n");
    WriteFile(ca_.File("damaged"),
              "-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n");
    std::string cut = ca_.Text("own.key");
    WriteFile(ca_.File("cut.key"), cut.erase(cut.find('\n') + 20, 8));
    WriteFile(ca_.File("words"), "Subject: someone\r\n\n");
    ca_.Make("elsewhere", "", kAuthority);
    ca_.MakeFor(installed, "foreign", "elsewhere", kServer);
    ca_.Trust("root");
  }

  void Expect(const Row& row) {
    SCOPED_TRACE(row.text);
    InstallByHand("rsa.key rsa.pem", ca_.Text("second.pem"));
    const std::string before = Both();
    const std::string text = ca_.Text(row.text);
    const std::string validated = Validate(text);
    EXPECT_TRUE(validated.size() == 1 ? validated == row.validated : Has(validated, row.validated))
        << validated;
    EXPECT_EQ(Both(), before) << "looking changed something";
    const std::string failure = Import(text);
    EXPECT_TRUE(Has(failure, row.imported)) << failure;
    EXPECT_EQ(failure.empty(), *row.imported == '\0') << failure;
    ExpectPrivateAndAlone();
    if (!failure.empty()) {
      EXPECT_EQ(Both(), before);
      return;
    }
    EXPECT_EQ(OpenSsl({"pkey", "-in", ServerFile(), "-pubout"}),
              OpenSsl({"x509", "-in", ServerFile(), "-noout", "-pubkey"}));
    EXPECT_EQ(ReadFile(ServerFile()).starts_with(ca_.Text("rsa.key")), *row.validated == '0');
    EXPECT_EQ(ReadFile(ChainFile()), *row.chain == '\0' ? "\n" : ca_.Text(row.chain));
  }

  testing::TestHome home_;
  CertificateAuthority ca_;
};

TEST_F(CertificateTest, WhatIsSuppliedIsInstalledWithItsKeyAndChainOrNothingChanges) {
  MakePieces();
  const char* const kNoMatch = "do not match to each other.";
  const Row rows[] = {
      {"leaf.pem inter.pem root.pem", "0", "", "inter.pem"},
      {"words leaf.pem inter.pem words", "0", "", "inter.pem"},
      {"deep.pem inter.pem second.pem", "0", "", "second.pem inter.pem"},
      {"deep.pem second.pem root.pem", "0", "", ""},
      {"leaf.pem", "0", "", ""},
      {"direct.pem", "0", "", ""},
      {"foreign.pem elsewhere.pem", "0", "", ""},
      {"expired.pem inter.pem", "0", "", "inter.pem"},
      {"client.pem inter.pem", "0", "", ""},
      {"leaf.pem damaged inter.pem", "0", "", "inter.pem"},
      {"leaf.pem encrypted.key", "0", "", ""},
      {"own.pem own.key inter.pem", "1", "", "inter.pem"},
      {"parameters.key inter.pem", "2", kNoMatch, ""},
      {"parameters.key parameters.pem", "1", "", ""},
      {"own.pem", "2", "no other private key was provided", ""},
      {"own.pem public.key", "2", "no other private key was provided", ""},
      {"own.pem parameters.key", "2", kNoMatch, ""},
      {"own.pem encrypted.key", "is encrypted", "is encrypted", ""},
      {"own.pem cut.key", "Cannot read the private key: error:", "Cannot read the private", ""},
      {"weak.pem weak.key", "1", "cannot use this certificate: error:", ""},
      {"mute.pem mute.key inter.pem", "1", "cannot use this certificate: error:", ""},
      {"", "There is no certificate", "There is no certificate", ""},
      {"damaged leaf.pem", "Cannot read the certificate: error:", "Cannot read the cert", ""},
  };
  for (const Row& row : rows) Expect(row);
}

TEST_F(CertificateTest, OpensslVerifiesWhatIsInstalledAndTheStateSaysHowItStands) {
  ca_.MakeFor(ca_.File("rsa.key"), "leaf", "inter", "subjectAltName=DNS:a.example,IP:::1\n", 40);
  EXPECT_EQ(Import(ca_.Text("leaf.pem inter.pem root.pem")), "");
  EXPECT_TRUE(Has(
      OpenSsl({"verify", "-CAfile", ca_.File("root.pem"), "-untrusted", ChainFile(), ServerFile()}),
      ": OK"));
  // Only the root is missing here, which its clients have.
  CertificateState state = GetInstalledState(home_.context());
  EXPECT_EQ(state.chain.state, ChainState::kComplete);
  EXPECT_FALSE(state.chain.root_trusted);
  ca_.Trust("root");
  state = GetInstalledState(home_.context());
  EXPECT_EQ(state.chain.state, ChainState::kComplete) << Utf8(state.chain.problem);
  EXPECT_TRUE(state.chain.root_trusted);
  EXPECT_EQ(state.match, KeyMatch::kInstalledKey);
  EXPECT_EQ(state.days_left, 39);
  EXPECT_EQ(state.alternative_names, (std::vector<std::u16string>{u"a.example", u"::1"}));
  EXPECT_TRUE(Has(OpenSsl({"x509", "-in", ServerFile(), "-noout", "-fingerprint", "-sha256"}),
                  Utf8(state.fingerprint)));
  EXPECT_EQ(state.key, u"RSA 2048");
  EXPECT_EQ(ElementNames(state.chain), (std::vector<std::u16string>{u"leaf", u"inter", u"root"}));
  EXPECT_TRUE(state.chain.valid_now);
  // The machine could complete the chain, but its clients could not.
  ca_.Trust("inter");
  WriteFile(ChainFile(), "\n");
  EXPECT_EQ(GetInstalledState(home_.context()).chain.state, ChainState::kIncomplete);

  InstallByHand("inter.key rsa.pem");
  state = GetInstalledState(home_.context());
  EXPECT_EQ(state.match, KeyMatch::kNone);
  EXPECT_EQ(state.chain.state, ChainState::kSelfSigned);
  EXPECT_FALSE(state.chain.root_trusted);

  ca_.MakeFor(ca_.File("inter.key"), "stale", "root", kAuthority, -1);
  std::filesystem::copy(ca_.File("inter.key"), ca_.File("stale.key"));
  ca_.MakeFor(ca_.File("rsa.key"), "late", "stale", kServer);
  for (const char* names : {"late.pem stale.pem root.pem", "late.pem stale.pem"}) {
    const std::u16string text = platform::Utf16ForDisplay(ca_.Text(names));
    EXPECT_FALSE(GetSuppliedState(home_.context(), text).chain.valid_now) << names;
  }
}

TEST_F(CertificateTest, ANewCertificateAndARequestSayWhatWasAskedForWithRsaAndEc) {
  CertificateParameters parameters;
  parameters.common_name = u"svn.example.org";
  parameters.additional_names = {u"svn", u"192.0.2.7"};
  parameters.organization = u"Gärten & Söhne";
  parameters.organization_unit = u"u";
  parameters.country_code = u"DE";
  parameters.state = u"s";
  parameters.city = u"c";
  const std::string names = "DNS:svn.example.org, DNS:svn, DNS:192.0.2.7, IP Address:192.0.2.7";
  const std::string subject =
      "Subject: CN = svn.example.org, O = G\\C3\\A4rten & S\\C3\\B6hne, OU = u, C = DE, ST = s, L "
      "= c";
  const auto create = [&] { CreateSelfSignedCertificate(home_.context(), parameters, 9000); };
  ca_.Make("ec", "", "");
  for (const std::string key : {"rsa", "ec"}) {
    SCOPED_TRACE(key);
    InstallByHand(key + ".key " + key + ".pem", ca_.Text("inter.pem"));
    EXPECT_EQ(Failure(create), "");
    const std::string text = InstalledText();
    const std::string usage = key == "ec" ? "Digital Signature, " : "";
    for (const std::string& part :
         {names, subject, usage + "Key Encipherment, Data Encipherment",
          std::string("TLS Web Server Authentication"), std::string("Version: 3 (0x2)"),
          std::string(key == "ec" ? "ecdsa-with-SHA256" : "sha256WithRSAEncryption")})
      EXPECT_TRUE(Has(text, part)) << part << "\n" << text;
    EXPECT_TRUE(Has(OpenSsl({"verify", "-CAfile", ServerFile(), ServerFile()}), ": OK"));
    EXPECT_TRUE(ReadFile(ServerFile()).starts_with(ca_.Text(key + ".key")));
    EXPECT_EQ(ReadFile(ChainFile()), "\n");
    ExpectPrivateAndAlone();
    // It ends in a year that certificates write with four digits.
    const CertificateInfo info = GetCertificateInfo(home_.context());
    EXPECT_EQ(info.issued_to + info.organization + info.organization_unit + info.country_code +
                  info.state + info.city,
              u"svn.example.orgGärten & SöhneuDEsc");
    ASSERT_TRUE(info.valid_from && info.valid_to);
    EXPECT_LT(std::chrono::abs(*info.valid_from - std::chrono::system_clock::now()),
              std::chrono::minutes(2));
    EXPECT_EQ(*info.valid_to - *info.valid_from, std::chrono::days(9000));
    EXPECT_TRUE(ReadFile(ServerFile()).ends_with(Utf8(info.base64_certificate)));

    const std::string before = Both();
    WriteFile(ca_.File("request.pem"), Utf8(CreateCertificateRequest(home_.context(), parameters)));
    const std::string request =
        OpenSsl({"req", "-in", ca_.File("request.pem"), "-noout", "-text", "-verify"});
    EXPECT_TRUE(Has(request, names) && Has(request, subject)) << request;
    EXPECT_FALSE(Has(request, "Key Usage")) << request;
    EXPECT_EQ(Both(), before);
  }
  const std::string before = Both();
  for (const std::uint32_t days : {3'000'000U, 0xFFFFFFFFU}) {
    EXPECT_TRUE(Has(
        Failure([&] { CreateSelfSignedCertificate(home_.context(), parameters, days); }), "9999"))
        << days;
  }
  EXPECT_EQ(Both(), before);
  parameters.additional_names.clear();
  parameters.country_code = u"Germany";
  EXPECT_TRUE(Has(Failure(create), "Cannot make the certificate: error:"));
}

TEST_F(CertificateTest, SettingsChooseTheDigestAndLeaveOutTheUsage) {
  const platform::KeyPath key{platform::RootKey::kLocalMachine, kServerKeyPath};
  const auto set = [&](const char16_t* name, const platform::RegistryValue& value) {
    ASSERT_EQ(home_.machine()->registry->Set(key, name, value), ERROR_SUCCESS);
  };
  CertificateParameters parameters;
  parameters.common_name = u"x";
  const auto create = [&] { CreateSelfSignedCertificate(home_.context(), parameters, 1); };
  const auto request = [&] { CreateCertificateRequest(home_.context(), parameters); };
  set(u"SelfSignedCertificateSignatureAlgorithm", platform::RegistryValue::String(u"SHA1"));
  set(u"CertificateRequestSignatureAlgorithm", platform::RegistryValue::String(u"md5"));
  set(u"CreateGnuTLSCompatibleCertificate", platform::RegistryValue::Dword(1));
  EXPECT_EQ(Failure(create), "");
  const std::string text = InstalledText();
  EXPECT_TRUE(Has(text, "sha1WithRSAEncryption") && Has(text, "DNS:x\n")) << text;
  EXPECT_FALSE(Has(text, "Key Usage")) << text;
  EXPECT_EQ(Failure(request),
            "Cannot read configuration parameter 'CertificateRequestSignatureAlgorithm' from "
            "registry: unexpected value 'md5'.");
  set(u"SelfSignedCertificateSignatureAlgorithm", platform::RegistryValue::String(u"sha512"));
  const std::string before = Both();
  EXPECT_EQ(Failure(create),
            "Cannot read configuration parameter 'SelfSignedCertifcateSignatureAlgorithm' from "
            "registry: unexpected value 'sha512'.");
  EXPECT_EQ(Both(), before);
}

// Files that cannot be written are met when every call fails in turn.
TEST_F(CertificateTest, AnInstalledFileThatCannotBeUsedIsLeftAloneAndReplacedAsAWhole) {
  ca_.MakeFor(ca_.File("rsa.key"), "leaf", "inter", kServer);
  const std::string text = ca_.Text("leaf.pem inter.pem root.pem");
  const std::pair<std::string, const char*> rows[] = {
      {"", "There is no private key in"},
      {ca_.Text("rsa.pem"), "There is no private key in"},
      {OpenSsl({"pkey", "-in", ca_.File("rsa.key"), "-aes128", "-passout", "pass:x"}),
       "without passphrase"},
  };
  for (const auto& [content, message] : rows) {
    WriteFile(ServerFile(), content);
    EXPECT_TRUE(Has(Import(text), message)) << Import(text);
    EXPECT_TRUE(Has(Validate(text), message));
    EXPECT_EQ(ReadFile(ServerFile()), content);
    // What comes with its key needs nothing of it.
    EXPECT_EQ(Import(text + ca_.Text("rsa.key")), "");
  }
  std::filesystem::remove(ServerFile());
  EXPECT_TRUE(Has(Import(text), "Cannot read file")) << Import(text);
}

TEST_F(CertificateTest, AKillAtAnyMomentLeavesACertificateWithItsKeyAndItsChain) {
  ca_.Make("other", "root", kAuthority);
  ca_.Make("first", "inter", kServer);
  ca_.Make("second", "other", kServer);
  const CertificatePaths paths = PathsOf(home_.configuration());
  const std::string servers[] = {ca_.Text("first.key first.pem"),
                                 ca_.Text("second.key second.pem")};
  const std::string chains[] = {ca_.Text("inter.pem"), ca_.Text("other.pem")};
  ReplaceFiles(paths, servers[0], chains[0]);
  for (unsigned round = 0; round < 60; ++round) {
    int channel[2];
    ASSERT_EQ(pipe(channel), 0);
    const pid_t child = fork();
    for (int i = 1; child == 0; ++i) {
      ReplaceFiles(paths, servers[i % 2], chains[i % 2]);
      if (write(channel[1], "x", 1) != 1) _exit(1);
    }
    close(channel[1]);
    char told = 0;
    ASSERT_EQ(read(channel[0], &told, 1), 1);
    usleep(97 * round);  // Somewhere in one of the next replacements.
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    close(channel[0]);
    const std::string server = ReadFile(ServerFile());
    EXPECT_TRUE(server == servers[0] || server == servers[1]) << server;
    EXPECT_TRUE(Has(ReadFile(ChainFile()), chains[server == servers[1]])) << ReadFile(ChainFile());
  }
  ReplaceFiles(paths, servers[1], chains[1]);
  EXPECT_EQ(ReadFile(ChainFile()), chains[1]);
}

}  // namespace
}  // namespace kelvarion::certificate
