#include "certificate/certificate_state.h"

#include <algorithm>

#include "certificate/failure.h"
#include "certificate/supplied_text.h"

namespace kelvarion::certificate {
namespace {

CertificateState Describe(const platform::Certificate& certificate) {
  platform::CertificateDescription description;
  Require(platform::DescribeCertificate(certificate, description), u"Cannot read the certificate");
  CertificateState state;
  state.info = ToInfo(certificate, description);
  state.alternative_names = std::move(description.alternative_names);
  state.fingerprint = std::move(description.fingerprint);
  state.key = std::move(description.key);
  const auto now = std::chrono::system_clock::now();
  if (state.info.valid_to)
    state.days_left = std::chrono::floor<std::chrono::days>(*state.info.valid_to - now).count();
  state.is_valid_yet = !state.info.valid_from || *state.info.valid_from <= now;
  return state;
}

// Certificates for several names and old roots may do without a common name.
std::u16string NameOf(const platform::CertificateDescription& description) {
  const platform::DistinguishedName& subject = description.subject;
  if (!subject.common_name.empty()) return subject.common_name;
  if (!description.alternative_names.empty()) return description.alternative_names.front();
  return subject.organization_unit.empty() ? subject.organization : subject.organization_unit;
}

KeyMatch MatchInstalledKey(const InstalledCertificate& installed) {
  try {
    const bool match = platform::BelongTogether(installed.certificate(), installed.key());
    return match ? KeyMatch::kInstalledKey : KeyMatch::kNone;
  } catch (const SSLException&) {
    return KeyMatch::kNone;
  }
}

bool Contains(const std::vector<platform::Certificate>& list, const platform::Certificate& one) {
  return std::ranges::any_of(
      list, [&](const platform::Certificate& other) { return platform::IsSame(one, other); });
}

}  // namespace

std::vector<std::u16string> ElementNames(const ChainReport& chain) {
  std::vector<std::u16string> names;
  for (const platform::Certificate& element : chain.elements) {
    platform::CertificateDescription description;
    Require(platform::DescribeCertificate(element, description), u"Cannot read the certificate");
    names.push_back(NameOf(description));
  }
  return names;
}

CertificateState GetInstalledState(const ServerContext& context) {
  const CertificatePaths paths = PathsOf(context.configuration());
  const InstalledCertificate installed = ReadInstalled(paths);
  const std::vector<platform::Certificate> sent = ReadInstalledChain(paths);
  CertificateState state = Describe(installed.certificate());
  state.match = MatchInstalledKey(installed);
  state.chain = ExamineChain(installed.certificate(), sent);
  // Intermediates are installed only with a chain that reached its root. The root itself is not
  // kept, and need not be known to this machine: clients that trust it have all they need.
  if (state.chain.state == ChainState::kIncomplete && !sent.empty() &&
      state.chain.elements.size() == sent.size() + 1) {
    state.chain.state = ChainState::kComplete;
    state.chain.problem.clear();
    return state;
  }
  for (const platform::Certificate& intermediate : state.chain.Intermediates()) {
    if (Contains(sent, intermediate)) continue;
    state.chain.state = ChainState::kIncomplete;
    state.chain.problem = u"certchain.pem lacks intermediate certificates";
    break;
  }
  return state;
}

CertificateState GetSuppliedState(const ServerContext& context, const std::u16string& text) {
  const SuppliedText supplied(text);
  CertificateState state = Describe(supplied.certificate());
  state.match = ValidateCertificate(context, text);
  state.chain = ExamineChain(supplied.certificate(), supplied.further());
  return state;
}

}  // namespace kelvarion::certificate
