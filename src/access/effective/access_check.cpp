#include <optional>

#include "access/authz_files.h"
#include "access/effective/access_finding.h"
#include "access/effective/check_internal.h"
#include "access/effective/machine_rules.h"
#include "access/effective/server_reader.h"
#include "errors/exception.h"
#include "svn/atomic_file.h"
#include "svn/error.h"
#include "svn/repository.h"
#include "svn/text.h"

namespace kelvarion::access {
namespace {

// Of a file that has to be there, everything else is reported and read as nothing.
enum class Missing { kIsFine, kIsReported };

class Run {
 public:
  Run(const ServerContext& context, const svn::Cancellation& cancellation,
      const CheckReport::Sink& found)
      : context_(context),
        cancellation_(cancellation),
        found_(found),
        pool_(context.root_pool()),
        reader_(context) {}

  void UserRules() {
    UnusedGlobalRules();
    const CheckReport on_users = ReportOn({}, UsersFile(context_));
    const KnownUsers users(
        ReadText(UsersFile(context_), Missing::kIsReported, on_users, pool_).value_or(""),
        on_users);
    const CheckReport on_groups = ReportOn({}, GroupsFile(context_));
    const AuthzGroups groups(
        ReadText(GroupsFile(context_), Missing::kIsReported, on_groups, pool_).value_or(""));
    CheckGroups(groups, users, on_groups);
    ForEachRepository([&](const std::u16string& name, const svn::Pool& pool) {
      const CheckReport report = ReportOn(name, SubversionRulesFile(context_, name));
      auto text = ReadText(SubversionRulesFile(context_, name), Missing::kIsReported, report, pool);
      if (!text) return;
      YoungestRevision youngest(RepositoryFolder(context_, name), report, pool);
      CheckUserRules(svn::Utf8(name), std::move(*text), groups, users, youngest, report);
    });
  }

  void MachineAccountRules() {
    KnownAccounts accounts(*context_.machine().security);
    const CheckReport on_global = ReportOn({}, GlobalRulesFile(context_));
    const MachineRules global(
        ReadText(GlobalRulesFile(context_), Missing::kIsFine, on_global, pool_).value_or(""));
    CheckGlobalRules(global, accounts, on_global);
    ForEachRepository([&](const std::u16string& name, const svn::Pool& pool) {
      const CheckReport report = ReportOn(name, WindowsRulesFile(context_, name));
      auto text = ReadText(WindowsRulesFile(context_, name), Missing::kIsFine, report, pool);
      if (!text) return;
      const MachineRules rules(std::move(*text));
      YoungestRevision youngest(RepositoryFolder(context_, name), report, pool);
      CheckMachineRules(rules, &global, accounts, youngest, report);
    });
  }

 private:
  CheckReport ReportOn(std::u16string repository, std::u16string file) const {
    return {found_, std::move(repository), std::move(file)};
  }

  std::optional<std::string> ReadText(const std::u16string& path, Missing missing,
                                      const CheckReport& report, const svn::Pool& pool) {
    try {
      auto text = svn::ReadFileIfPresent(path, pool);
      if (!text && missing == Missing::kIsReported)
        report(findings::kMissingFile, 0, u"the file does not exist");
      if (const auto problem = reader_.WhyUnreadable(path))
        report(findings::kUnreadableFile, 0, u"the web server cannot use it: " + problem->text);
      return text;
    } catch (const SvnException& exception) {
      report(findings::kUnreadableFile, 0, exception.Message());
      return std::nullopt;
    }
  }

  void UnusedGlobalRules() {
    const CheckReport report = ReportOn({}, GlobalRulesFile(context_));
    const auto text = ReadText(GlobalRulesFile(context_), Missing::kIsFine, report, pool_);
    const MachineRules rules(text.value_or(""));
    for (const MachineSection& section : rules.sections()) {
      if (section.rules.empty()) continue;
      report(findings::kUnusedGlobalRules, section.line,
             u"the rules of the server count only with Windows authentication", section.name);
      return;
    }
  }

  // Whatever lies among the repositories without a configuration is not one of them.
  template <class Body>
  void ForEachRepository(const Body& body) const {
    for (const std::u16string& name : svn::ListFolders(RepositoriesRoot(context_), pool_)) {
      cancellation_.Check();
      const svn::Pool pool(pool_);
      if (svn::IsFolder(ConfigurationFolder(context_, name), pool)) body(name, pool);
    }
  }

  const ServerContext& context_;
  const svn::Cancellation& cancellation_;
  const CheckReport::Sink& found_;
  svn::Pool pool_;
  ServerReader reader_;
};

}  // namespace

void CheckAccess(const ServerContext& context, const svn::Cancellation& cancellation,
                 const std::function<void(const AccessFinding&)>& found) {
  Run run(context, cancellation, found);
  if (context.configuration().GetUseWindowsAuth())
    run.MachineAccountRules();
  else
    run.UserRules();
}

}  // namespace kelvarion::access
