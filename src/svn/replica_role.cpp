#include "svn/replica_role.h"

#include <svn_error_codes.h>
#include <svn_io.h>

#include <algorithm>
#include <sstream>

#include "errors/exception.h"
#include "platform/text/encoding.h"
#include "svn/atomic_file.h"
#include "svn/error.h"
#include "svn/held_lock.h"
#include "svn/text.h"

namespace kelvarion::svn {
namespace {

constexpr std::string_view kSeparator = " = ";

// Also read by the program that stands under each hook's name.
std::string RoleFile(const std::string& folder) { return JoinDirent(folder, "ormu.conf"); }

// False for a line that says nothing known.
bool Apply(std::string_view key, std::string_view value, ReplicaRole& role) {
  if (key == "role") {
    role.master = value == "master";
    return role.master || value == "slave";
  }
  if (key == "suspended") {
    role.suspended = value == "yes";
    return role.suspended || value == "no";
  }
  if (key == "server") {
    role.master_server = value;
  } else if (key == "repository") {
    role.master_repository = value;
  } else {
    return false;
  }
  return true;
}

// Held for a moment only, also while somebody replicates.
HeldLock LockRole(const std::string& folder) {
  return HeldLock(PathFromDirent(JoinDirent(JoinDirent(folder, "locks"), "role.lock")));
}

void RequireOneLine(const std::string& text) {
  if (std::ranges::any_of(text, [](unsigned char c) { return c < ' ' || c == 0x7f; }))
    ThrowError(SVN_ERR_INCORRECT_PARAMS,
               Format(u"'%s' cannot be the name of a master", platform::Utf16ForDisplay(text)));
}

void Replace(const std::string& folder, const ReplicaRole& role, const Pool& scratch) {
  RequireOneLine(role.master_server);
  RequireOneLine(role.master_repository);
  std::ostringstream text;
  text << "role" << kSeparator << (role.master ? "master" : "slave") << "\nsuspended" << kSeparator
       << (role.suspended ? "yes" : "no") << '\n';
  if (!role.master)
    text << "server" << kSeparator << role.master_server << "\nrepository" << kSeparator
         << role.master_repository << '\n';
  ReplaceFile(PathFromDirent(RoleFile(folder)), text.str(), platform::NewFile::kAsFolderSays,
              scratch);
}

}  // namespace

std::optional<ReplicaRole> ReadReplicaRole(const std::string& folder, const Pool& scratch) {
  const std::u16string path = PathFromDirent(RoleFile(folder));
  const std::optional<std::string> text = ReadFileIfPresent(path, scratch);
  if (!text) return std::nullopt;
  ReplicaRole role;
  bool has_role = false;
  std::istringstream lines(*text);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t separator = line.find(kSeparator);
    const std::string_view key = std::string_view(line).substr(0, separator);
    if (separator == std::string::npos ||
        !Apply(key, std::string_view(line).substr(separator + kSeparator.size()), role))
      ThrowError(SVN_ERR_MALFORMED_FILE, Format(u"'%s' does not say what the repository is", path));
    has_role = has_role || key == "role";
  }
  if (!has_role || (!role.master && role.master_server.empty()))
    ThrowError(SVN_ERR_MALFORMED_FILE, Format(u"'%s' does not say what the repository is", path));
  return role;
}

void WriteReplicaRole(const std::string& folder, const ReplicaRole& role, const Pool& scratch) {
  const HeldLock lock = LockRole(folder);
  Replace(folder, role, scratch);
}

void RemoveReplicaRole(const std::string& folder, const Pool& scratch) {
  const HeldLock lock = LockRole(folder);
  Check(svn_io_remove_file2(RoleFile(folder).c_str(), TRUE, scratch));
}

void ChangeReplicaRole(const std::string& folder, const RoleChange& change, const Pool& scratch) {
  const HeldLock lock = LockRole(folder);
  Replace(folder, change(ReadReplicaRole(folder, scratch)), scratch);
}

}  // namespace kelvarion::svn
