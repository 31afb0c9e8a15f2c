// Settings that cannot work, whoever stored them.
#include "apache/values.h"
#include "doctor/checks.h"
#include "errors/exception.h"
#include "platform/network/network.h"
#include "settings/server_settings.h"
#include "util/paths.h"

namespace kelvarion::doctor {
namespace {

std::u16string HowToSet(const char16_t* setting) {
  return Format(u"Correct it with: kelvarionctl settings set %s VALUE", setting);
}

// What a setting has to be like; `fits` also reads it, and what it throws is a finding as well.
void Judge(Examination& run, const char16_t* setting, const char16_t* must,
           const std::function<bool(const IcRegistryAccessor&)>& fits) {
  std::u16string problem;
  try {
    if (fits(run.context().configuration())) return;
    problem = Format(u"The setting %s %s.", setting, must);
  } catch (const Exception& exception) {
    problem = Format(u"The setting %s cannot be read: %s", setting, exception.Message());
  }
  run.Report(Severity::kError, setting, problem, HowToSet(setting));
}

bool IsPort(int port) { return port >= 1 && port <= 65535; }

bool IsDigest(const std::u16string& name) { return name == u"sha256" || name == u"sha1"; }

bool IsUsableFolder(const std::u16string& path) {
  return util::IsAbsoluteOrNetworkPath(path) && apache::IsQuotable(path) && util::IsFolder(path);
}

bool AreAddresses(const IcRegistryAccessor& store) {
  if (!store.GetUseServerBindings()) return true;
  for (const std::u16string& address : store.GetServerBindings())
    if (!apache::IsListenAddress(address)) return false;
  return !store.GetServerBindings().empty();
}

bool IsLoopback(const std::u16string& address) {
  return address.starts_with(u"127.") || address == u"::1" || address == u"[::1]" ||
         address == u"localhost";
}

bool ListensBeyondThisMachine(const IcRegistryAccessor& store) {
  if (!store.GetUseServerBindings()) return true;
  for (const std::u16string& address : store.GetServerBindings())
    if (!IsLoopback(address)) return true;
  return false;
}

}  // namespace

void CheckSettings(Examination& run) {
  using Store = IcRegistryAccessor;
  Judge(run, u"ServerPort", u"is not a TCP port (1 to 65535)",
        [](const Store& store) { return IsPort(store.GetServerPort(false)); });
  Judge(run, u"SSLServerPort", u"is not a TCP port (1 to 65535)",
        [](const Store& store) { return IsPort(store.GetServerPort(true)); });
  Judge(run, u"ServerName", u"has characters that no host name has",
        [](const Store& store) { return settings::IsValidServerName(store.GetServerName()); });
  Judge(run, u"RepositoriesURLPrefix", u"is neither empty nor a slash with letters and digits",
        [](const Store& store) {
          return apache::IsServablePrefix(store.GetRepositoriesURLPrefix());
        });
  Judge(run, u"RepositoriesRoot", u"names no folder that the web server could serve from",
        [](const Store& store) { return IsUsableFolder(store.GetRepositoriesRoot(std::nullopt)); });
  Judge(run, u"InstallDir", u"names no folder that the web server could run from",
        [](const Store& store) { return IsUsableFolder(store.GetInstallDir()); });
  Judge(run, u"ServerBindings",
        u"does not list the addresses to listen on, though "
        u"UseServerBindings says that it does",
        AreAddresses);
  Judge(run, u"SelfSignedCertificateSignatureAlgorithm", u"is neither sha256 nor sha1",
        [](const Store& store) {
          return IsDigest(store.GetSelfSignedCertificateSignatureAlgorithm());
        });
  Judge(
      run, u"CertificateRequestSignatureAlgorithm", u"is neither sha256 nor sha1",
      [](const Store& store) { return IsDigest(store.GetCertificateRequestSignatureAlgorithm()); });
}

void CheckLogins(Examination& run) {
  const IcRegistryAccessor& store = run.context().configuration();
  if (!store.GetUseSSL() && ListensBeyondThisMachine(store)) {
    run.Report(Severity::kWarning, u"UseSSL",
               u"The server can be reached from other machines over HTTP: passwords and everything "
               u"else can be read on the way.",
               u"Serve HTTPS: kelvarionctl server configure --tls on");
  }
  if (!store.GetUseWindowsAuth()) return;
  if (!store.IsWindowsBasicEnabled()) {
    run.Report(Severity::kError, u"DisableWindowsBasic",
               u"Nobody can log in: accounts of the machine log in with name and password only, "
               u"and that is switched off.",
               u"Switch it on: kelvarionctl server configure --basic on");
  }
}

}  // namespace kelvarion::doctor
