// The server's certificate: its key, its chain, its names and how long it lasts.
#include <algorithm>

#include "certificate/certificate_state.h"
#include "doctor/checks.h"
#include "errors/exception.h"
#include "platform/text/compare.h"
#include "repos/url.h"

namespace kelvarion::doctor {
namespace {

using certificate::CertificateState;
using certificate::ChainState;

constexpr std::int64_t kSoon = 30;
constexpr std::int64_t kVerySoon = 7;
constexpr const char16_t* kRenew =
    u"Install a new one: kelvarionctl certificate create, or certificate request and import.";

// Without a key that can be read, nothing can be made for it.
constexpr const char16_t* kReplace =
    u"Import one with its key: kelvarionctl certificate import FILE --key KEY; or move the file "
    u"away and have a new key and certificate made: kelvarionctl init";

bool Covers(const std::u16string& pattern, const std::u16string& host) {
  if (platform::EqualIgnoreCase(pattern, host)) return true;
  const std::size_t dot = host.find(u'.');
  return pattern.starts_with(u"*.") && dot != host.npos &&
         platform::EqualIgnoreCase(pattern.substr(1), host.substr(dot));
}

class CertificateCheck {
 public:
  explicit CertificateCheck(Examination& run)
      : run_(run),
        file_(Shown(run.InHome("server/certs/server.pem"))),
        in_use_(run.context().configuration().GetUseSSL()) {}

  void Check() const {
    CertificateState state;
    try {
      state = certificate::GetInstalledState(run_.context());
    } catch (const Exception& exception) {
      Report(Severity::kError, exception.Message(), kReplace);
      return;
    }
    if (state.match == certificate::KeyMatch::kNone) {
      Report(Severity::kError, u"The file has no private key that belongs to the certificate.",
             kReplace);
    }
    CheckTimes(state);
    CheckChain(state);
    CheckNames(state);
  }

 private:
  void CheckTimes(const CertificateState& state) const {
    const std::int64_t days = state.days_left.value_or(kSoon + 1);
    if (!state.is_valid_yet) {
      Report(Severity::kError, u"The certificate is not valid yet.",
             u"Check the machine's clock, or install another certificate.");
    } else if (days < 0) {
      Report(Severity::kError, u"The certificate has expired; clients refuse it.", kRenew);
    } else if (days <= kSoon) {
      Report(days <= kVerySoon ? Severity::kError : Severity::kWarning,
             Format(u"The certificate expires in %ld days.", static_cast<long>(days)), kRenew);
    }
  }

  void CheckChain(const CertificateState& state) const {
    if (state.chain.state == ChainState::kIncomplete) {
      Report(Severity::kWarning,
             u"The certificates that vouch for the server's are not all there, so clients may "
             u"refuse it.",
             u"Import it once more, with the certificates of its authority up to the root behind "
             u"it in the file: kelvarionctl certificate import FILE. If it is the root itself that "
             u"issued it, make this machine trust the root: update-ca-certificates");
    } else if (state.chain.state == ChainState::kUnsuitable && state.days_left.value_or(0) >= 0) {
      Report(Severity::kError, Format(u"Clients refuse the certificate: %s", state.chain.problem),
             kRenew);
    }
  }

  void CheckNames(const CertificateState& state) const {
    const std::u16string host = repos::PublicHostName(run_.context().configuration());
    const auto covers = [&](const std::u16string& name) { return Covers(name, host); };
    if (state.alternative_names.empty() || std::ranges::any_of(state.alternative_names, covers))
      return;
    Report(Severity::kWarning,
           Format(u"The certificate is not for '%s', the name in the server's addresses.", host),
           u"Set the server's name to one of the certificate, or install one for the name.");
  }

  // While the server speaks HTTP, nobody gets to see the certificate.
  void Report(Severity severity, const std::u16string& text, const std::u16string& remedy) const {
    const auto lower = static_cast<Severity>(static_cast<std::uint32_t>(severity) - 1);
    run_.Report(in_use_ ? severity : lower, file_, text, remedy);
  }

  Examination& run_;
  std::u16string file_;
  bool in_use_;
};

}  // namespace

void CheckCertificate(Examination& run) { CertificateCheck(run).Check(); }

}  // namespace kelvarion::doctor
