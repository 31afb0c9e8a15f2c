#include "doctor/server_status.h"

#include <chrono>

#include "access/users.h"
#include "certificate/certificate_state.h"
#include "doctor/doctor.h"
#include "errors/exception.h"
#include "repos/repository_store.h"

namespace kelvarion::doctor {
namespace {

template <class Count>
std::optional<std::uint32_t> TryCount(const Count& count) {
  try {
    return static_cast<std::uint32_t>(count());
  } catch (const Exception&) {
    return std::nullopt;
  }
}

std::vector<std::u16string> Listening(const settings::ServerSettings& settings) {
  const std::uint32_t port =
      settings.use_secure_connection ? settings.secure_port : settings.unsecure_port;
  if (settings.listen_all_ip_addresses) return {Format(u"*:%u", port)};
  std::vector<std::u16string> places;
  for (const std::u16string& address : settings.listen_ip_addresses) {
    const bool bare_ipv6 = address.find(u':') != address.npos && !address.starts_with(u'[');
    places.push_back(bare_ipv6 ? Format(u"[%s]:%u", address, port)
                               : Format(u"%s:%u", address, port));
  }
  return places;
}

void FillCertificate(const ServerContext& context, ServerStatus& status) {
  try {
    const auto state = certificate::GetInstalledState(context);
    status.certificate_days_left = state.days_left;
    if (!state.info.valid_to) return;
    const std::chrono::year_month_day date(
        std::chrono::floor<std::chrono::days>(*state.info.valid_to));
    const auto two = [](unsigned number) {
      return std::u16string(number < 10 ? u"0" : u"") + Format(u"%u", number);
    };
    status.certificate_expires =
        Format(u"%d-%s-%s", static_cast<int>(date.year()), two(static_cast<unsigned>(date.month())),
               two(static_cast<unsigned>(date.day())));
  } catch (const Exception&) {
    // What is wrong with it is among the warnings.
  }
}

}  // namespace

ServerStatus ReadServerStatus(const ServerContext& context) {
  ServerStatus status;
  status.settings = settings::ReadServerSettings(context);
  status.last_failure = context.machine().services->LastFailure(settings::kServerInstanceName);
  status.listening = Listening(status.settings);
  status.repositories = TryCount([&] { return repos::ListRepositoryNames(context).size(); });
  if (status.settings.auth_type == 0)
    status.users = TryCount([&] { return access::ListUsers(context).size(); });
  FillCertificate(context, status);
  const auto found = [&](const Finding& finding) {
    if (finding.check == kRestartPendingCheck) status.restart_pending = true;
    if (finding.severity == Severity::kInformation) return;
    // What other programs say need not end as a sentence does.
    const char16_t* const between = finding.text.ends_with(u'.') ? u" " : u". ";
    status.warnings.push_back(
        Format(u"%s: %s%s%s", finding.where, finding.text, between, finding.remedy));
  };
  Examine(context, Extent::kGlance, Repairs::kNo, {found, nullptr, {[] { return false; }, u""}});
  return status;
}

}  // namespace kelvarion::doctor
