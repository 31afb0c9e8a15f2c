// Repositories: whether they open, whether their hooks can run, and who may use them.
#include <map>

#include "access/effective/access_finding.h"
#include "doctor/checks.h"
#include "errors/exception.h"
#include "platform/text/compare.h"
#include "repos/hooks.h"
#include "repos/repository_store.h"
#include "svn/repository.h"
#include "util/paths.h"

namespace kelvarion::doctor {
namespace {

constexpr std::uint8_t kRead = 4;
constexpr std::uint8_t kRun = 5;  // Scripts are read to be run.

class HookCheck {
 public:
  HookCheck(Examination& run, const RepositoryPlace& repository, const repos::HookState& hook)
      : run_(run), repository_(repository), hook_(hook), name_(HookKindName(hook.kind)) {}

  void Check() const {
    using svn::HookProgram;
    if (hook_.program == HookProgram::kForeign && hook_.script) {
      Report(Severity::kWarning, hook_.program_path,
             u"a program of somebody else's stands where the launcher of the script would, and "
             u"runs in its place",
             u"Remove one of the two.");
    } else if (hook_.script && hook_.program == HookProgram::kNothing) {
      ReportLauncher(Severity::kError, u"the launcher is missing, so the script does not run");
    } else if (hook_.program == HookProgram::kOutdatedLauncher) {
      ReportLauncher(Severity::kWarning, u"the launcher is not the one of this version");
    } else if (hook_.program != HookProgram::kNothing && !Allowed(hook_.program_path, kRun)) {
      const std::u16string what = u"the web server may not run it, and so refuses what it guards";
      if (hook_.program == HookProgram::kLauncher)
        ReportLauncher(Severity::kError, what);
      else
        Report(Severity::kError, hook_.program_path, what, u"Make it executable, or remove it.");
    }
    if (hook_.script && hook_.program != HookProgram::kForeign) CheckScript();
  }

 private:
  bool Allowed(const std::u16string& path, std::uint8_t access) const {
    return !run_.web_account() ||
           run_.web_account()->Obstacle(platform::NativePath(path), access).empty();
  }

  void CheckScript() const {
    if (!Allowed(*hook_.script, kRead)) {
      Report(Severity::kError, *hook_.script, u"the web server may not read the script",
             u"Give its account access to the script.");
    } else if (hook_.interpreter.empty()) {
      Report(Severity::kError, *hook_.script,
             u"the script's first line does not name the program that runs it",
             u"Begin it with such a line: #!/bin/sh");
    } else if (util::GetFileAttributesOrMissing(hook_.interpreter) == util::kMissingFile ||
               !Allowed(hook_.interpreter, 1)) {
      Report(Severity::kError, *hook_.script,
             Format(u"the program '%s', which its first line names, is not there or cannot be run",
                    hook_.interpreter),
             u"Install the program, or name another one.");
    }
  }

  void ReportLauncher(Severity severity, const std::u16string& what) const {
    Report(severity, hook_.program_path, what, u"Make the launcher anew; --fix does it.", [this] {
      repos::RepairHookLauncher(run_.context(), repository_.name, hook_.kind);
      return std::u16string(u"The launcher was made anew.");
    });
  }

  void Report(Severity severity, const std::u16string& where, const std::u16string& what,
              const std::u16string& remedy, const Repair& repair = nullptr) const {
    run_.Report(severity, where, Format(u"Hook %s of '%s': %s.", name_, repository_.name, what),
                remedy, repair);
  }

  Examination& run_;
  const RepositoryPlace& repository_;
  const repos::HookState& hook_;
  std::u16string name_;
};

}  // namespace

void CheckRepositoriesRoot(Examination& run) {
  std::map<std::u16string, std::u16string> first;
  for (const std::u16string& name : repos::ListRepositoryNames(run.context())) {
    const auto [other, fresh] = first.emplace(platform::FoldCase(name), name);
    if (fresh) continue;
    run.Report(Severity::kWarning, name,
               Format(u"The names of the repositories '%s' and '%s' differ only in case; names are "
                      u"found ignoring case.",
                      other->second, name),
               u"Rename one of them.");
  }
}

void CheckAccessRules(Examination& run) {
  access::CheckAccess(
      run.context(), run.visitor().cancellation, [&](const access::AccessFinding& found) {
        // Another check says so, and repairs it.
        if (found.kind == u"UnreadableFile" && run.web_account() &&
            !run.web_account()->Obstacle(platform::NativePath(found.file), kRead).empty())
          return;
        Finding finding;
        finding.severity = found.severity;
        finding.where = found.line == 0 ? found.file : Format(u"%s:%d", found.file, found.line);
        finding.text = found.text;
        finding.remedy = found.remedy;
        run.Report(std::move(finding));
      });
}

void CheckOpens(Examination& run, const RepositoryPlace& repository) {
  try {
    svn::RequireReadable(repository.path, run.context().root_pool());
  } catch (const Exception& exception) {
    run.Report(Severity::kError, repository.path,
               Format(u"The repository does not open: %s", exception.Message()),
               u"Restore it from a backup, or move the folder away if it is no repository.");
  }
}

void CheckHooks(Examination& run, const RepositoryPlace& repository) {
  for (const repos::HookState& hook : repos::InspectHooks(run.context(), repository.name))
    HookCheck(run, repository, hook).Check();
}

}  // namespace kelvarion::doctor
