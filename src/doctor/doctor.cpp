#include "doctor/doctor.h"

#include "access/authz_files.h"
#include "doctor/checks.h"
#include "errors/exception.h"
#include "platform/files/files.h"
#include "repos/repository_store.h"

namespace kelvarion::doctor {
namespace {

struct ServerCheck {
  const char16_t* name;
  const char16_t* about;  // What its own failure is reported about.
  void (*run)(Examination& run);
  bool at_a_glance;
};

constexpr const char16_t* kRootCheck = u"RepositoriesRoot";
constexpr const char16_t* kRoot = u"repositories root";

// In this order: what later checks stand on comes first.
constexpr ServerCheck kServerChecks[] = {
    {u"Settings", u"settings", CheckSettings, true},
    {u"Logins", u"settings", CheckLogins, true},
    {u"HomeFiles", u"home", CheckHomeFiles, true},
    {u"WebServerReach", u"home", CheckWebServerReach, true},
    {u"GeneratedFiles", u"server/conf", CheckGeneratedFiles, true},
    {u"Certificate", u"server/certs", CheckCertificate, true},
    {u"WebServerConfiguration", u"server/conf", CheckWebServerConfiguration, false},
    {u"WebServer", u"KelvarionServer", CheckWebServer, true},
    {kRestartPendingCheck, u"KelvarionServer", CheckRestartPending, true},
    {u"ReplicationService", u"ormusvc", CheckReplicationService, true},
    {u"FreeSpace", u"home", CheckSpace, true},
    {u"Leftovers", u"home", CheckLeftovers, true},
    {kRootCheck, kRoot, CheckRepositoriesRoot, true},
    {u"AccessRules", kRoot, CheckAccessRules, false},
};

struct RepositoryCheck {
  const char16_t* name;
  void (*run)(Examination& run, const RepositoryPlace& repository);
};

constexpr RepositoryCheck kRepositoryChecks[] = {
    {u"Opens", CheckOpens},
    {u"RepositoryReach", CheckRepositoryReach},
    {u"Hooks", CheckHooks},
    {u"RepositoryLeftovers", CheckRepositoryLeftovers},
};

class Progress {
 public:
  explicit Progress(const Visitor& visitor) : visitor_(visitor) {}
  void Expect(std::size_t steps) { total_ += steps; }
  void Step(const std::u16string& what) {
    if (visitor_.progress) visitor_.progress(what, done_, total_);
    ++done_;
  }

 private:
  const Visitor& visitor_;
  std::size_t done_ = 0;
  std::size_t total_ = 0;
};

void ExamineRepository(Examination& run, const std::u16string& name) {
  const std::u16string path = access::RepositoryFolder(run.context(), name);
  const RepositoryPlace place{name, path, platform::NativePath(path)};
  bool opens = true;
  for (const RepositoryCheck& check : kRepositoryChecks) {
    if (check.run == CheckHooks && !opens) continue;
    const bool good = run.Run(check.name, path, [&] { check.run(run, place); });
    if (check.run == CheckOpens) opens = good;
  }
}

}  // namespace

void Examine(const ServerContext& context, Extent extent, Repairs repairs, const Visitor& visitor) {
  Examination run(context, repairs, visitor);
  Progress progress(visitor);
  const auto wanted = [&](const ServerCheck& check) {
    return extent == Extent::kAll || check.at_a_glance;
  };
  for (const ServerCheck& check : kServerChecks) progress.Expect(wanted(check) ? 1 : 0);
  std::vector<std::u16string> names;
  const auto list = [&] { names = repos::ListRepositoryNames(context); };
  const bool listed = extent != Extent::kAll || run.Run(kRootCheck, kRoot, list);
  progress.Expect(names.size());
  for (const ServerCheck& check : kServerChecks) {
    // That they cannot be listed has been reported.
    if (!wanted(check) || (check.run == CheckRepositoriesRoot && !listed)) continue;
    progress.Step(check.name);
    run.Run(check.name, check.about, [&] { check.run(run); });
  }
  for (const std::u16string& name : names) {
    progress.Step(name);
    ExamineRepository(run, name);
  }
}

}  // namespace kelvarion::doctor
