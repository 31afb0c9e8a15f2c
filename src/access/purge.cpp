#include "access/purge.h"

#include <set>
#include <sstream>

#include "access/authz_files.h"
#include "access/authz_parser.h"
#include "access/permissions_lock.h"
#include "svn/atomic_file.h"
#include "svn/error.h"
#include "svn/repository.h"
#include "svn/text.h"

namespace kelvarion::access {
namespace {

using Notes = std::set<std::string>;

// Neither kind of name can hold the end of a line.
std::string NoteOf(const Account& account) {
  return (account.kind == AccountKind::SubversionGroup ? "group " : "user ") +
         svn::Utf8(account.name);
}

Notes ReadNotes(const ServerContext& context, const svn::Pool& pool) {
  std::istringstream lines(svn::ReadFileIfPresent(DeletionsFile(context), pool).value_or(""));
  Notes notes;
  for (std::string line; std::getline(lines, line);) notes.insert(line);
  return notes;
}

void WriteNotes(const ServerContext& context, const Notes& notes, const svn::Pool& pool) {
  const std::u16string file = DeletionsFile(context);
  std::string text;
  for (const std::string& note : notes) text += note + "\n";
  if (!text.empty()) return svn::ReplaceFile(file, text, platform::NewFile::kOwnerAndFolder, pool);
  if (const Win32Error error = platform::DeleteFile(file))
    svn::ThrowSystemError(error, Format(u"Cannot remove file '%s'", file));
}

void ForgetDeletion(const ServerContext& context, const Account& account, const svn::Pool& pool) {
  const PermissionsLock lock(context);
  Notes notes = ReadNotes(context, pool);
  if (notes.erase(NoteOf(account)) > 0) WriteNotes(context, notes, pool);
}

// Whether there was anything to take out of the file's rules, which are left in the parser.
bool ReadWithout(const Account& account, const std::u16string& file,
                 AuthzSubversionFileParser& parser, const svn::Pool& pool) {
  ReadIniFile(file, parser.document(), pool);
  bool changed = false;
  for (auto& [path, entries] : parser.AllPaths()) {
    PermissionList rest = entries;
    const auto is_account = [&](const PermissionEntry& entry) { return entry.account == account; };
    if (std::erase_if(rest, is_account) == 0) continue;
    parser.SetEntries(path, rest);
    changed = true;
  }
  return changed;
}

void PurgeRepository(const ServerContext& context, const std::u16string& repository,
                     const Account& account) {
  const svn::Pool pool(context.root_pool());
  const std::u16string file = SubversionRulesFile(context, repository);
  // Most files do not name the account, and need no lock to say so.
  AuthzSubversionFileParser unlocked;
  if (!ReadWithout(account, file, unlocked, pool)) return;
  const PermissionsLock lock(context, repository);
  AuthzSubversionFileParser parser;
  if (ReadWithout(account, file, parser, pool))
    WriteIniFile(file, parser.document(), kAuthorizationHeader, pool);
}

void LogFailure(const ServerContext& context, bool group, const std::u16string& repository,
                const std::u16string& message) {
  context.events().LogWarning(
      group ? Format(u"Failed to purge references to the group from repository '%s': %s",
                     repository, message)
            : Format(u"Failed to purge references to the user from repository '%s': %s", repository,
                     message));
}

[[noreturn]] void ThrowSummary(bool group, int failures) {
  if (failures == 1) {
    throw SimpleException(
        group ? u"Failed to purge references to the group from 1 repository. Please check "
                u"Kelvarion Server logs for more details."
              : u"Failed to purge references to the user from 1 repository. Please check "
                u"Kelvarion Server logs for more details.");
  }
  throw SimpleException(
      group ? Format(u"Failed to purge references to the group from %d repositories. Please check "
                     u"Kelvarion Server logs for more details.",
                     failures)
            : Format(u"Failed to purge references to the user from %d repositories. Please check "
                     u"Kelvarion Server logs for more details.",
                     failures));
}

}  // namespace

void NoteDeletion(const ServerContext& context, const Account& account, const svn::Pool& pool) {
  Notes notes = ReadNotes(context, pool);
  if (notes.insert(NoteOf(account)).second) WriteNotes(context, notes, pool);
}

bool IsDeletionNoted(const ServerContext& context, const Account& account, const svn::Pool& pool) {
  return ReadNotes(context, pool).contains(NoteOf(account));
}

void PurgeAccount(const ServerContext& context, const Account& account) {
  const bool group = account.kind == AccountKind::SubversionGroup;
  const svn::Pool pool(context.root_pool());
  std::set<std::u16string> seen;
  int failures = 0;
  // Again until nothing is new: what is renamed meanwhile may be missing from one listing.
  for (bool found = true; found;) {
    found = false;
    for (const std::u16string& repository : svn::ListFolders(RepositoriesRoot(context), pool)) {
      if (!seen.insert(repository).second) continue;
      found = true;
      try {
        PurgeRepository(context, repository, account);
      } catch (const Exception& exception) {
        // One that is deleted meanwhile has no rules any more.
        if (!svn::IsFolder(ConfigurationFolder(context, repository), pool)) continue;
        LogFailure(context, group, repository, exception.Message());
        ++failures;
      }
    }
  }
  if (failures > 0) ThrowSummary(group, failures);
  ForgetDeletion(context, account, pool);
}

}  // namespace kelvarion::access
