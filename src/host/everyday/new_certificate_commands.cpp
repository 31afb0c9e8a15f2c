// certificate create, request: what shall stand in the certificate comes from the command line, the
// key is the one that the server has.
#include <fstream>

#include "host/commands.h"
#include "host/everyday/certificate_commands.h"
#include "host/everyday/certificate_summary.h"
#include "host/everyday/requests.h"

namespace kelvarion::host {
namespace {

// What all clients accept at most of a certificate.
constexpr unsigned kUsualDays = 825;

struct NewWords {
  std::string name;
  std::vector<std::string> alternative_names;
  std::string organization;
  std::string unit;
  std::string country;
  std::string state;
  std::string city;
  unsigned days = kUsualDays;
  bool yes = false;
  bool restart = false;
  std::string out;
};

// Nothing when the provider cannot be asked; `outcome` then says why.
std::vector<std::string> Parameters(Session& session, const NewWords& words, Outcome& outcome) {
  std::string name = words.name;
  if (name.empty()) {
    outcome = Get(session, kServicePath);
    if (Failed(outcome.status)) return {};
    name = outcome.objects.front().at("ServerName").get<std::string>();
  }
  return {"CommonName=" + name,
          "AdditionalNames:=" + Json(words.alternative_names).dump(),
          "Organization=" + words.organization,
          "OrganizationUnit=" + words.unit,
          "CountryCode=" + words.country,
          "State=" + words.state,
          "City=" + words.city};
}

Outcome Create(Session& session, const NewWords& words) {
  Confirm("Replace the certificate of the server by a new one that it signs itself?", words.yes);
  Outcome outcome;
  std::vector<std::string> parameters = Parameters(session, words, outcome);
  if (parameters.empty()) return outcome;
  parameters.push_back("Days=" + std::to_string(words.days));
  return FinishCertificateChange(
      session, Call(session, kServicePath, "CreateSelfSignedCertificate", parameters),
      words.restart);
}

Outcome Request(Session& session, const NewWords& words) {
  Outcome outcome;
  const std::vector<std::string> parameters = Parameters(session, words, outcome);
  if (parameters.empty()) return outcome;
  outcome = Call(session, kServicePath, "CreateCertificateRequest", parameters);
  if (Failed(outcome.status) || outcome.objects.empty()) return outcome;
  outcome.text = outcome.objects.front().at("ReturnValue").get<std::string>();
  if (words.out.empty()) return outcome;
  std::ofstream file(words.out, std::ios::binary);
  file << outcome.text << std::flush;
  if (!file) throw UsageError("'" + words.out + "' cannot be written.");
  outcome.text = "Send " + words.out +
                 " to a certification authority and import what it returns with:\n"
                 "  kelvarionctl certificate import FILE\n";
  return outcome;
}

std::pair<CLI::App*, NewWords*> AddNew(CLI::App& group, Command& chosen, const char* name,
                                       const char* description,
                                       Outcome (*run)(Session&, const NewWords&)) {
  const auto [sub, words] = AddCommand(group, name, description, chosen, run);
  sub->add_option("--name", words->name, "Name of the server (default: as in its addresses)");
  sub->add_option("--alt", words->alternative_names,
                  "A further DNS name or IP address; may come several times")
      ->allow_extra_args(false);
  sub->add_option("--organization", words->organization, "Name of the organization");
  sub->add_option("--unit", words->unit, "Department in the organization");
  sub->add_option("--country", words->country, "Country as a code of two letters");
  sub->add_option("--state", words->state, "State or province");
  sub->add_option("--city", words->city, "City or locality");
  return {sub, words};
}

}  // namespace

void AddNewCertificateCommands(CLI::App& certificate, Command& chosen) {
  const auto [create, created] = AddNew(certificate, chosen, "create",
                                        "Make and install a certificate signed by itself", Create);
  create->add_option("--days", created->days, "For how many days it is valid")
      ->check(CLI::Range(1u, 36500u))
      ->capture_default_str();
  create->add_flag("--yes", created->yes, "Do not ask");
  create->add_flag("--restart", created->restart, "Have a running server take it up at once");
  create->footer("Example:\n  kelvarionctl certificate create --alt svn --days 365");

  const auto [request, requested] = AddNew(
      certificate, chosen, "request", "Print a request for a certification authority", Request);
  request->add_option("--out", requested->out, "Write it to this file");
  request->footer(
      "Nothing changes, and what the authority returns belongs to the installed key. Example:\n"
      "  kelvarionctl certificate request --name svn.example.org --out svn.csr");
}

}  // namespace kelvarion::host
