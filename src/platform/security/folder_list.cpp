#include "platform/security/folder_list.h"

#include <sys/xattr.h>

#include <cerrno>
#include <ios>
#include <sstream>

#include "platform/files/files.h"
#include "platform/security/sid.h"
#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

constexpr const char* kAttribute = "user.kelvarion.dacl";

void WriteEntries(char kind, const std::map<std::uint32_t, Permissions>& entries,
                  std::ostringstream& text) {
  for (const auto& [id, permissions] : entries)
    text << kind << ' ' << id << ' ' << static_cast<int>(permissions) << '\n';
}

bool ReadGrant(std::istringstream& words, FolderList& list) {
  std::string sid;
  AccessGrant grant;
  int inherited = 0;
  words >> sid >> std::hex >> grant.access_mask >> inherited;
  if (words.fail() || !Utf8ToUtf16(sid, grant.sid) || !ParseSid(grant.sid)) return false;
  grant.inherited = inherited != 0;
  list.grants.push_back(grant);
  return true;
}

bool ReadEntry(std::istringstream& words, std::map<std::uint32_t, Permissions>& entries) {
  std::uint32_t id = 0;
  unsigned permissions = 0;
  words >> id >> permissions;
  entries[id] = static_cast<Permissions>(permissions & 7);
  return !words.fail();
}

}  // namespace

// One entry a line: "protected", "unfinished", "grant SID MASK INHERITED", "u UID BITS", "g GID
// BITS", "o 0 BITS".
std::string ToText(const FolderList& list) {
  std::ostringstream text;
  if (list.is_protected) text << "protected\n";
  if (list.unfinished) text << "unfinished\n";
  for (const AccessGrant& grant : list.grants)
    text << "grant " << Utf8ForDisplay(grant.sid) << ' ' << std::hex << grant.access_mask
         << std::dec << ' ' << grant.inherited << '\n';
  WriteEntries('u', list.carried_out.users, text);
  WriteEntries('g', list.carried_out.groups, text);
  WriteEntries('o', {{0, list.carried_out.others}}, text);
  return text.str();
}

bool ParseFolderList(const std::string& text, FolderList& out) {
  FolderList list;
  std::istringstream lines(text);
  bool valid = true;
  std::map<std::uint32_t, Permissions> others;
  for (std::string line; valid && std::getline(lines, line);) {
    std::istringstream words(line);
    std::string kind;
    words >> kind;
    if (kind == "protected")
      list.is_protected = true;
    else if (kind == "unfinished")
      list.unfinished = true;
    else if (kind == "grant")
      valid = ReadGrant(words, list);
    else if (kind == "u")
      valid = ReadEntry(words, list.carried_out.users);
    else if (kind == "g")
      valid = ReadEntry(words, list.carried_out.groups);
    else
      valid = kind == "o" && ReadEntry(words, others);
  }
  list.carried_out.others = others[0];
  if (valid) out = std::move(list);
  return valid;
}

Win32Error ReadFolderList(const std::string& folder, FolderList& out) {
  std::string text(65536, '\0');  // The kernel keeps no larger attribute.
  const ssize_t length = getxattr(folder.c_str(), kAttribute, text.data(), text.size());
  if (length < 0)
    return errno == ENODATA || errno == EOPNOTSUPP ? ERROR_FILE_NOT_FOUND : FromErrno(errno);
  text.resize(static_cast<std::size_t>(length));
  return ParseFolderList(text, out) ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
}

Win32Error WriteFolderList(const std::string& folder, const FolderList& list) {
  const std::string text = ToText(list);
  if (setxattr(folder.c_str(), kAttribute, text.data(), text.size(), 0) == 0) return ERROR_SUCCESS;
  return errno == EOPNOTSUPP ? ERROR_SUCCESS : FromErrno(errno);
}

}  // namespace kelvarion::platform
