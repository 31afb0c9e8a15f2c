#include "host/everyday/certificate_commands.h"

#include "host/commands.h"
#include "host/everyday/certificate_summary.h"
#include "host/everyday/requests.h"

namespace kelvarion::host {
namespace {

struct ImportWords {
  std::vector<std::string> files;
  std::string key;
  bool yes = false;
  bool restart = false;
};

// The provider reads PEM only, and what else there is cannot even be sent as text.
std::string ReadPem(const std::string& file) {
  std::string text = ReadInput(file);
  if (text.find("-----BEGIN ") == text.npos)
    throw UsageError("'" + file +
                     "' is not in PEM form. Convert it first: openssl x509 -inform DER -in FILE "
                     "for a single certificate, openssl pkcs12 -noenc -in FILE for a store with "
                     "its key.");
  return text.ends_with('\n') ? text : text + "\n";
}

std::string Parameter(const ImportWords& words) {
  std::string text = "Base64Certificate=";
  for (const std::string& file : words.files) text += ReadPem(file);
  if (!words.key.empty()) text += ReadPem(words.key);
  return text;
}

Outcome CheckParameter(Session& session, const std::string& parameter) {
  Outcome outcome = Call(session, kServerCertificateClass, "Check", {parameter});
  TakeResult(outcome, "ReturnValue");
  if (outcome.objects.empty()) return outcome;
  outcome.text = CertificateSummary(outcome.objects.front());
  if (outcome.objects.front().at("KeyMatch") == 2) outcome.exit_code = kExitFailed;
  return outcome;
}

Outcome Check(Session& session, const ImportWords& words) {
  return CheckParameter(session, Parameter(words));
}

Outcome Import(Session& session, const ImportWords& words) {
  const std::string parameter = Parameter(words);
  if (!words.yes) {
    const Outcome checked = CheckParameter(session, parameter);
    if (Failed(checked.status)) return checked;
    Confirm(checked.text + "Replace the certificate of the server by this one?", false);
  }
  return FinishCertificateChange(
      session, Call(session, kServicePath, "ImportCertificate", {parameter}), words.restart);
}

// A command that takes the files of a certificate.
std::pair<CLI::App*, ImportWords*> AddWithFiles(CLI::App& group, Command& chosen, const char* name,
                                                const char* description,
                                                Outcome (*run)(Session&, const ImportWords&)) {
  const auto [sub, words] = AddCommand(group, name, description, chosen, run);
  sub->add_option("FILE", words->files,
                  "The certificate in PEM form, then those of its issuers; - is standard input")
      ->required();
  sub->add_option("--key", words->key, "Its private key, unless it is in FILE or installed");
  return {sub, words};
}

}  // namespace

void AddCertificateCommands(CLI::App& app, Command& chosen) {
  CLI::App* const group = AddGroup(
      app, "certificate", "Show, make, request, check and import the server's certificate");
  AddCommand(*group, "show", "Show the certificate, how long it lasts and who vouches for it",
             chosen, ShowCertificate);
  AddNewCertificateCommands(*group, chosen);
  AddWithFiles(*group, chosen, "check",
               "Show what an import would do; exit code 1 when no key belongs to the certificate",
               Check);
  const auto [import, words] =
      AddWithFiles(*group, chosen, "import", "Install a certificate from an authority", Import);
  import->add_flag("--yes", words->yes, "Do not ask");
  import->add_flag("--restart", words->restart, "Have a running server take it up at once");
  import->footer(
      "The certificate belongs to the installed key (certificate request) or comes with its own.\n"
      "Examples:\n  kelvarionctl certificate import server.crt intermediate.crt\n"
      "  kelvarionctl certificate import fullchain.pem --key privkey.pem --yes --restart");
}

}  // namespace kelvarion::host
