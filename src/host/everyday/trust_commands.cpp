// replication trust, masters, forget: whose masters may be followed, by Kelvarion_TrustedMaster.
#include <cctype>
#include <iostream>

#include "host/commands.h"
#include "host/everyday/replication_commands.h"
#include "host/everyday/requests.h"
#include "platform/process/process.h"

namespace kelvarion::host {
namespace {

constexpr const char* kClass = "Kelvarion_TrustedMaster";

struct TrustWords {
  std::string server;
  std::string scheme = "https";
  std::string url;
  std::string account;
  std::string fingerprint;
  bool accept = false;
};

Outcome Masters(Session& session) {
  Outcome outcome = Enumerate(session, kClass);
  ShowTable(outcome,
            {{"SERVER", "Server"},
             {"ADDRESS", "Url"},
             {"ACCOUNT", "Account"},
             {"CERTIFICATE", "CertificateSha256"}},
            "No masters are trusted.\n");
  return outcome;
}

// host[:port] of an address.
std::string ServerOf(const std::string& url) {
  const std::size_t begin = url.find("://") + 3;
  return url.substr(begin, url.find('/', begin) - begin);
}

// As the master's administrator sees it.
std::string WithColons(const std::string& digits) {
  std::string text;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && i % 2 == 0) text += ':';
    text += static_cast<char>(std::toupper(static_cast<unsigned char>(digits[i])));
  }
  return text;
}

void ConfirmCertificate(const Json& shown, const TrustWords& words) {
  const auto text = [&](const char* name) { return shown.at(name).get<std::string>(); };
  std::cerr << "No authority that this machine trusts vouches for the certificate of "
            << words.server << ":\n  subject      " << text("Subject") << "\n  issuer       "
            << text("Issuer") << "\n  valid until  " << text("ValidUntil") << "\n  SHA-256      "
            << WithColons(text("CertificateSha256")) << "\n";
  if (words.accept) return;
  if (!platform::InputIsTerminal())
    throw UsageError(
        "Compare the fingerprint with the master's own and give it with --fingerprint, or take it "
        "as it is with --accept; nothing is changed.");
  std::cerr << "Is that the fingerprint that the master's administrator sees? [y/N] " << std::flush;
  std::string answer;
  std::getline(std::cin, answer);
  if (answer != "y" && answer != "Y" && answer != "yes") throw UsageError("Nothing was changed.");
}

// Asks for what is missing, the certificate before the password: nobody should type one for a
// server that is not the right one.
Outcome Trust(Session& session, const TrustWords& words) {
  std::string fingerprint = words.fingerprint;
  const bool tls = words.url.empty() ? words.scheme == "https" : words.url.starts_with("https://");
  if (!tls && (!fingerprint.empty() || words.accept))
    throw UsageError("Only servers that are reached over https have a certificate.");
  if (tls && fingerprint.empty()) {
    const std::string server = words.url.empty() ? words.server : ServerOf(words.url);
    const Outcome found = Call(session, kClass, "GetCertificate", {"Server=" + server});
    if (Failed(found.status)) return found;
    const Json& shown = found.objects.front();
    if (!shown.at("VouchedFor").get<bool>()) {
      ConfirmCertificate(shown, words);
      fingerprint = shown.at("CertificateSha256").get<std::string>();
    }
  }
  std::vector<std::string> parameters{"Server=" + words.server};
  parameters.push_back(words.url.empty() ? "Scheme=" + words.scheme : "Url=" + words.url);
  if (!fingerprint.empty()) parameters.push_back("CertificateSha256=" + fingerprint);
  if (!words.account.empty()) {
    parameters.push_back("Account=" + words.account);
    parameters.push_back(
        "Password=" +
        ReadPassword("Password of " + words.account + " on " + words.server + ": ", Typed::kOnce));
  }
  return Call(session, kClass, "Trust", parameters);
}

Outcome Forget(Session& session, const std::string& server) {
  return Call(session, ObjectPath(kClass, {{"Server", server}}), "Forget", {});
}

void AddTrust(CLI::App& replication, Command& chosen) {
  const auto [trust, words] =
      AddCommand(replication, "trust", "Say how the server of masters is reached", chosen, Trust);
  trust->add_option("SERVER", words->server, "The server as slaves name it: host[:port]")
      ->required();
  trust->add_option("--account", words->account,
                    "The account of that machine that replicates; asks for its password");
  trust->add_option("--scheme", words->scheme, "https (the default), http or svn");
  trust->add_option("--url", words->url,
                    "Address of the folder of the masters, where it is a server of another kind");
  trust->add_option("--fingerprint", words->fingerprint,
                    "SHA-256 of the one certificate to accept");
  trust->add_flag("--accept", words->accept,
                  "Take the certificate that the server shows now without asking");
  trust->footer(
      "The password is asked for on the terminal, or read as one line of the standard input.\n"
      "Examples:\n  kelvarionctl replication trust svn.example.com --account replicator\n"
      "  kelvarionctl replication trust 192.0.2.7:8443 --account replicator --accept < secret\n"
      "  kelvarionctl replication trust old.example.com --url svn://old.example.com/srv/svn");
}

}  // namespace

void AddTrustCommands(CLI::App& replication, Command& chosen) {
  AddTrust(replication, chosen);
  AddCommand(replication, "masters", "Show the servers of masters that are trusted", chosen,
             Masters);
  const auto [forget, server] =
      AddCommand(replication, "forget", "Trust a server of masters no longer", chosen, Forget);
  forget->add_option("SERVER", *server, "The server, host[:port]")->required();
}

}  // namespace kelvarion::host
