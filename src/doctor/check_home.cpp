// The files of the home: whose they are, and who else may do what with them.
#include <algorithm>

#include "doctor/checks.h"
#include "errors/exception.h"
#include "platform/files/files.h"
#include "platform/files/ownership.h"
#include "platform/process/process.h"
#include "repos/root.h"

namespace kelvarion::doctor {
namespace {

using platform::HeldFile;
using platform::Ownership;

struct Modes {
  std::uint32_t most;   // What more than these allow is too much.
  std::uint32_t least;  // What the server cannot do without.
};

struct ModeRule {
  const char* path;  // Below the home; what ends with "/*" are the entries of that folder.
  Modes folder;
  Modes file;
  bool tree = false;  // Also everything further down.
};

constexpr Modes kPassable{0755, 0711};
constexpr Modes kPrivateFolder{0700, 0700};
constexpr Modes kPrivateFile{0600, 0600};
constexpr Modes kOwnFile{0755, 0400};  // Lies in a private folder.
constexpr Modes kPublicFolder{0755, 0755};
constexpr Modes kPublicFile{0644, 0644};

constexpr ModeRule kRules[] = {
    {"", kPassable, {}, false},
    {"/registry.db", {}, kPrivateFile},
    {"/registry.db-wal", {}, kPrivateFile},
    {"/registry.db-shm", {}, kPrivateFile},
    {"/groups.db", {}, kPrivateFile},
    {"/services.conf", {}, kPrivateFile},
    {"/events", kPrivateFolder, {}},
    {"/events/*", {}, kPrivateFile},
    {"/replication", kPrivateFolder, {}},
    {"/replication/masters", kPrivateFolder, {}},
    {"/replication/masters/*", {}, kPrivateFile},
    {"/server", kPassable, {}},
    {"/server/bin", kPassable, {}},
    {"/server/conf", kPrivateFolder, {}},
    {"/server/conf/*", kPublicFolder, kOwnFile},
    {"/server/certs", kPrivateFolder, {}},
    {"/server/certs/*", kPrivateFolder, kPrivateFile},
    {"/server/run", kPassable, {}},
    {"/server/logs", {0750, 0700}, {}},
    {"/server/logs/*", {}, {0640, 0600}},
    {"/server/htdocs", kPublicFolder, kPublicFile, true},
    {"/server/WebUI", kPublicFolder, kPublicFile, true},
};

std::u16string Octal(std::uint32_t mode) {
  std::u16string text = u"0";
  for (int shift = 6; shift >= 0; shift -= 3)
    text += static_cast<char16_t>(u'0' + (mode >> shift & 7));
  return text;
}

void Require(Win32Error error, const std::u16string& what) {
  if (error != ERROR_SUCCESS) throw Win32Exception(error, u"%s", what);
}

class HomeFiles {
 public:
  explicit HomeFiles(Examination& run) : run_(run) {
    Require(HeldFile::OpenFolder(run.home(), home_), u"Cannot read the home's owner");
  }

  void Check(const ModeRule& rule) const {
    std::string relative = rule.path;
    const bool entries = relative.ends_with("/*");
    if (entries) relative.resize(relative.size() - 2);
    const std::string path = run_.home() + relative;
    if (relative.empty()) return CheckEntry(home_, path, rule);
    HeldFile found;
    if (!Open(home_, relative.substr(1), path, found)) return;
    if (entries)
      CheckEntries(found, path, rule);
    else
      CheckEntry(found, path, rule);
  }

 private:
  // False for what is not there.
  static bool Open(const HeldFile& folder, const std::string& relative, const std::string& path,
                   HeldFile& out) {
    const Win32Error error = folder.Open(relative, out);
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) return false;
    Require(error, Format(u"Cannot look at '%s'", Shown(path)));
    return true;
  }

  void CheckEntries(const HeldFile& folder, const std::string& path, const ModeRule& rule) const {
    std::vector<std::string> names;
    Require(folder.List(names), Format(u"Cannot list '%s'", Shown(path)));
    for (const std::string& name : names) {
      HeldFile entry;
      if (Open(folder, name, path + "/" + name, entry)) CheckEntry(entry, path + "/" + name, rule);
    }
  }

  // Repairs are made at once, while the file is held.
  void CheckEntry(const HeldFile& file, const std::string& path, const ModeRule& rule) const {
    const Ownership& found = file.ownership();
    if (found.link) return;
    if (found.user != home_.ownership().user) ReportOwner(file, path);
    const Modes& modes = found.folder ? rule.folder : rule.file;
    if (modes.most != 0) CheckMode(file, path, modes);
    if (rule.tree) CheckEntries(file, path, rule);
  }

  void ReportOwner(const HeldFile& file, const std::string& path) const {
    run_.Report(Severity::kError, Shown(path),
                u"It belongs to another account than the home, and so to somebody else or to "
                u"nobody who could use it.",
                u"Give it to the owner of the home; --fix does it.", [&] {
                  const Ownership& home = home_.ownership();
                  Require(file.ChangeOwner(home.user, home.group), u"Cannot change the owner");
                  return std::u16string(u"It was given to the owner of the home.");
                });
  }

  void CheckMode(const HeldFile& file, const std::string& path, const Modes& modes) const {
    // Only root's server has workers of another account.
    const std::uint32_t least = home_.ownership().user == 0 ? modes.least : modes.least & 0700;
    const std::uint32_t present = file.ownership().mode & 0777;
    const std::uint32_t right = (present & modes.most) | least;
    if (right == present) return;
    const std::uint32_t excess = present & ~modes.most;
    const bool others_write = (excess & 022) != 0;
    const bool secret = modes.most == kPrivateFile.most && (excess & 044) != 0;
    const std::u16string what = others_write ? u"others could change it"
                                : secret     ? u"others could read it"
                                : excess     ? u"it allows more than it needs to"
                                             : u"the server or its visitors cannot use it";
    run_.Report(others_write || secret || excess == 0 ? Severity::kError : Severity::kWarning,
                Shown(path), Format(u"Its mode is %s: %s.", Octal(present), what),
                Format(u"Set the mode to %s; --fix does it.", Octal(right)), [&file, right] {
                  Require(file.ChangeMode(right), u"Cannot change the mode");
                  return Format(u"The mode was set to %s.", Octal(right));
                });
  }

  Examination& run_;
  HeldFile home_;
};

struct Needed {
  const char* path;  // Below the repository or the root.
  std::uint8_t access;
};

constexpr std::uint8_t kRead = 4;
constexpr std::uint8_t kChange = 6;
constexpr std::uint8_t kUseFolder = 7;

std::u16string AdjustRoot(Examination& run) {
  const ServerContext& context = run.context();
  repos::AdjustRootPermissions(context, context.configuration().GetRepositoriesRoot(std::nullopt));
  run.web_account()->Forget();
  return u"The repositories root and all that lies in it were opened to the web server.";
}

// Reports the first of the files that the web server's account cannot use as it must.
void CheckReach(Examination& run, const std::string& folder, const Needed* begin,
                const Needed* end) {
  if (!run.web_account()) return;
  for (const Needed* needed = begin; needed != end; ++needed) {
    const std::string obstacle = run.web_account()->Obstacle(folder + needed->path, needed->access);
    if (obstacle.empty()) continue;
    const std::string root =
        platform::NativePath(run.context().configuration().GetRepositoriesRoot(std::nullopt));
    const bool ours = obstacle.starts_with(root) &&
                      run.context().configuration().GetAdjustRepositoriesRootPermissions();
    run.Report(
        Severity::kError, Shown(obstacle),
        Format(u"The web server's account '%s' cannot %s it, and so cannot use %s.",
               run.web_account_name(), needed->access == kRead ? u"read" : u"read and change",
               Shown(folder + needed->path)),
        ours ? u"Give it access; --fix does it for the whole repositories root."
             : u"Give it access, with chmod or setfacl.",
        ours ? Repair([&run] { return AdjustRoot(run); }) : nullptr);
    return;
  }
}

}  // namespace

void CheckHomeFiles(Examination& run) {
  const HomeFiles files(run);
  for (const ModeRule& rule : kRules) files.Check(rule);
}

void CheckWebServerReach(Examination& run) {
  if (!run.web_account()) {
    run.Report(Severity::kError, run.web_account_name(),
               u"The machine has no such account, which the web server's workers run as.",
               u"Install Apache (the package apache2-bin), which brings it.");
    return;
  }
  constexpr Needed kPages[] = {{"/server/htdocs/index.html", kRead},
                               {"/server/WebUI/index.html", kRead}};
  CheckReach(run, run.home(), std::begin(kPages), std::end(kPages));
  constexpr Needed kRoot[] = {{"", kUseFolder}, {"/htpasswd", kRead}, {"/groups.conf", kRead}};
  CheckReach(run,
             platform::NativePath(run.context().configuration().GetRepositoriesRoot(std::nullopt)),
             std::begin(kRoot), std::end(kRoot));
}

void CheckRepositoryReach(Examination& run, const RepositoryPlace& repository) {
  constexpr Needed kFiles[] = {{"", 5},
                               {"/format", kRead},
                               {"/conf/Kelvarion-SvnAuthz.ini", kRead},
                               {"/conf/Kelvarion-WinAuthz.ini", kRead},
                               {"/db", kUseFolder},
                               {"/db/current", kChange},
                               {"/db/revs", kUseFolder},
                               {"/db/revprops", kUseFolder},
                               {"/db/transactions", kUseFolder},
                               {"/locks/db.lock", kRead}};
  CheckReach(run, repository.native, std::begin(kFiles), std::end(kFiles));
}

}  // namespace kelvarion::doctor
