#include "host/everyday/certificate_summary.h"

#include "host/commands.h"
#include "host/value_output.h"

namespace kelvarion::host {
namespace {

// Whoever made a certificate chose its words; they make neither lines nor commands to a terminal.
std::string Plain(std::string text) {
  for (char& c : text)
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7F') c = '?';
  return text;
}

std::string Text(const Json& certificate, const char* property) {
  const Json& value = certificate.at(property);
  return value.is_string() ? Plain(value.get<std::string>()) : std::string();
}

std::string List(const Json& certificate, const char* property) {
  std::string joined;
  for (const Json& each : certificate.at(property))
    joined += (joined.empty() ? "" : ", ") + Plain(each.get<std::string>());
  return joined;
}

std::string Validity(const Json& certificate) {
  const std::string span = ShownDateTime(Text(certificate, "ValidFrom")) + " to " +
                           ShownDateTime(Text(certificate, "ValidTo"));
  const Json& left = certificate.at("DaysLeft");
  if (!left.is_number()) return span;
  const int days = left.get<int>();
  return span + (days < 0 ? " (expired)" : " (" + std::to_string(days) + " days left)");
}

std::string Key(const Json& certificate) {
  const std::string type = Text(certificate, "KeyType");
  switch (certificate.at("KeyMatch").get<int>()) {
    case 0:
      return type + ", the installed private key";
    case 1:
      return type + ", the private key that comes with it";
    default:
      return type + "; NO PRIVATE KEY belongs to it";
  }
}

std::string Chain(const Json& certificate) {
  const std::string chain = List(certificate, "Chain");
  switch (certificate.at("ChainState").get<int>()) {
    case 0:
      return "signed by itself: clients must be told to trust it";
    case 1:
      return chain + (certificate.at("RootTrusted").get<bool>()
                          ? " (complete)"
                          : " (complete; this machine does not trust the root)");
    default:
      return chain + "; CLIENTS MAY REFUSE IT: " + Text(certificate, "ChainProblem");
  }
}

std::string Dates(const Json& certificate) {
  return certificate.at("ValidNow").get<bool>()
             ? ""
             : "; NOT EVERY CERTIFICATE of the chain is valid at this time";
}

}  // namespace

std::string CertificateSummary(const Json& certificate) {
  return "Issued to    " + Text(certificate, "IssuedTo") + "\n" +            //
         "Names        " + List(certificate, "AlternativeNames") + "\n" +    //
         "Issued by    " + Text(certificate, "IssuedBy") + "\n" +            //
         "Valid        " + Validity(certificate) + "\n" +                    //
         "Key          " + Key(certificate) + "\n" +                         //
         "Chain        " + Chain(certificate) + Dates(certificate) + "\n" +  //
         "Fingerprint  " + Text(certificate, "Fingerprint") + "\n";
}

Outcome ShowCertificate(Session& session) {
  Outcome outcome = Get(session, std::string(kServerCertificateClass) + "=@");
  if (!outcome.objects.empty()) outcome.text = CertificateSummary(outcome.objects.front());
  return outcome;
}

Outcome FinishCertificateChange(Session& session, Outcome change, bool restart) {
  if (Failed(change.status)) return change;
  const Outcome service = Get(session, kServicePath);
  const bool runs = !service.objects.empty() && service.objects.front().at("ServiceState") == 4;
  if (restart && runs) {
    Outcome restarted = Call(session, kServicePath, "RestartService", {});
    if (Failed(restarted.status)) return restarted;
  }
  Outcome installed = ShowCertificate(session);
  installed.warnings.insert(installed.warnings.begin(), change.warnings.begin(),
                            change.warnings.end());
  if (runs && !restart)
    installed.text += "\nThe running server presents it once it is restarted (or use --restart).\n";
  return installed;
}

}  // namespace kelvarion::host
