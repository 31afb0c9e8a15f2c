#include "platform/security/group_store.h"

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <deque>
#include <set>

#include "platform/files/files.h"
#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

using sqlite::Statement;
using sqlite::Transaction;

constexpr std::uint64_t kNtAuthority = 5;
constexpr std::uint32_t kNonUnique = 21;
constexpr int kFirstId = 1000;
constexpr int kBusyTimeoutMs = 10'000;

constexpr const char* kTables[] = {
    "CREATE TABLE IF NOT EXISTS machine (part INTEGER PRIMARY KEY, value INTEGER NOT NULL)",
    "CREATE TABLE IF NOT EXISTS groups (id INTEGER PRIMARY KEY,"
    " name TEXT NOT NULL UNIQUE COLLATE NOCASE)",
    "CREATE TABLE IF NOT EXISTS members (id INTEGER NOT NULL, position INTEGER NOT NULL,"
    " sid TEXT NOT NULL, PRIMARY KEY (id, position))",
    "CREATE TABLE IF NOT EXISTS folders (path TEXT PRIMARY KEY)",
};

}  // namespace

Win32Error GroupStore::Open(const std::string& path, std::unique_ptr<GroupStore>& out) {
  // SQLite would make the file as the umask says; its journals take the mode of the file.
  const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (file < 0) return FromErrno(errno);
  close(file);
  sqlite3* opened = nullptr;
  const int result =
      sqlite3_open_v2(path.c_str(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  std::unique_ptr<GroupStore> store(new GroupStore(sqlite::Database(opened)));
  if (result != SQLITE_OK) return sqlite::FromSqlite(result);
  sqlite3_busy_timeout(opened, kBusyTimeoutMs);
  const Win32Error error = store->Prepare();
  if (error == ERROR_SUCCESS) out = std::move(store);
  return error;
}

Win32Error GroupStore::Prepare() {
  const auto read_machine = [this] {
    machine_.clear();
    Statement query(database_.get(), "SELECT value FROM machine ORDER BY part");
    while (query.Step()) machine_.push_back(static_cast<std::uint32_t>(query.Number(0)));
    return query.error() == ERROR_SUCCESS && machine_.size() == 3;
  };
  if (read_machine()) return ERROR_SUCCESS;
  Transaction transaction(database_.get());
  if (transaction.error() != ERROR_SUCCESS) return transaction.error();
  for (const char* table : kTables)
    if (const Win32Error error = Statement(database_.get(), table).Run(); error != ERROR_SUCCESS)
      return error;
  if (read_machine()) return ERROR_SUCCESS;  // Another process was faster.
  std::array<std::uint32_t, 3> lot{};
  if (getrandom(lot.data(), sizeof lot, 0) != sizeof lot) return ERROR_GEN_FAILURE;
  for (std::size_t i = 0; i < lot.size(); ++i)
    Statement(database_.get(), "INSERT INTO machine VALUES (?, ?)")
        .Bind(1, static_cast<std::int64_t>(i))
        .Bind(2, static_cast<std::int64_t>(lot[i]))
        .Run();
  if (!read_machine()) return ERROR_WRITE_FAULT;
  return transaction.Commit();
}

Win32Error GroupStore::FindId(const std::string& group, std::int64_t& out) const {
  Statement query(database_.get(), "SELECT id FROM groups WHERE name = ?");
  if (query.Bind(1, group).Step()) {
    out = query.Number(0);
    return ERROR_SUCCESS;
  }
  return query.error() == ERROR_SUCCESS ? NERR_GroupNotFound : query.error();
}

Win32Error GroupStore::Create(const std::string& group) {
  const std::lock_guard lock(mutex_);
  return Statement(database_.get(),
                   "INSERT OR IGNORE INTO groups (id, name)"
                   " VALUES (1 + max(?, coalesce((SELECT max(id) FROM groups), 0)), ?)")
      .Bind(1, kFirstId)
      .Bind(2, group)
      .Run();
}

Sid GroupStore::SidOfId(std::int64_t id) const {
  Sid sid{kNtAuthority, {kNonUnique}};
  sid.parts.insert(sid.parts.end(), machine_.begin(), machine_.end());
  sid.parts.push_back(static_cast<std::uint32_t>(id));
  return sid;
}

Win32Error GroupStore::FindSid(const std::string& group, Sid& out) const {
  const std::lock_guard lock(mutex_);
  std::int64_t id = 0;
  if (const Win32Error error = FindId(group, id); error != ERROR_SUCCESS) return error;
  out = SidOfId(id);
  return ERROR_SUCCESS;
}

Win32Error GroupStore::ReadAll(LocalGroups& out) const {
  const std::lock_guard lock(mutex_);
  Statement query(database_.get(),
                  "SELECT id, name, sid FROM groups LEFT JOIN members USING (id)"
                  " ORDER BY id, position");
  LocalGroups read;
  while (query.Step()) {
    LocalGroup& group = read[Utf8ForDisplay(ToText(SidOfId(query.Number(0))))];
    group.name = query.Utf8(1);
    if (std::string member = query.Utf8(2); !member.empty())
      group.members.push_back(std::move(member));
  }
  if (query.error() == ERROR_SUCCESS) out = std::move(read);
  return query.error();
}

Win32Error GroupStore::Members(const std::string& group, std::vector<std::string>& sids) const {
  const std::lock_guard lock(mutex_);
  // One statement: what is read is one state of the group. The group itself is the first row.
  Statement query(database_.get(),
                  "SELECT '', -1 FROM groups WHERE name = ?1 UNION ALL"
                  " SELECT sid, position FROM members"
                  " WHERE id = (SELECT id FROM groups WHERE name = ?1) ORDER BY 2");
  query.Bind(1, group);
  bool found = false;
  std::vector<std::string> read;
  while (query.Step()) {
    if (query.Number(1) < 0)
      found = true;
    else
      read.push_back(query.Utf8(0));
  }
  if (query.error() != ERROR_SUCCESS) return query.error();
  if (!found) return NERR_GroupNotFound;
  sids = std::move(read);
  return ERROR_SUCCESS;
}

Win32Error GroupStore::SetMembers(const std::string& group, const std::vector<std::string>& sids) {
  const std::lock_guard lock(mutex_);
  Transaction transaction(database_.get());
  if (transaction.error() != ERROR_SUCCESS) return transaction.error();
  std::int64_t id = 0;
  Win32Error error = FindId(group, id);
  if (error != ERROR_SUCCESS) return error;
  error = Statement(database_.get(), "DELETE FROM members WHERE id = ?").Bind(1, id).Run();
  std::set<std::string> seen;
  for (const std::string& sid : sids)
    if (error == ERROR_SUCCESS && seen.insert(sid).second)
      error = Statement(database_.get(), "INSERT INTO members VALUES (?, ?, ?)")
                  .Bind(1, id)
                  .Bind(2, static_cast<std::int64_t>(seen.size()))
                  .Bind(3, sid)
                  .Run();
  return error == ERROR_SUCCESS ? transaction.Commit() : error;
}

Win32Error GroupStore::GroupsHolding(const std::vector<std::string>& sids,
                                     std::vector<Sid>& groups) const {
  const std::lock_guard lock(mutex_);
  // Grows by the groups found, which may be members, too, while the query reads one that is in it.
  std::deque<std::string> holders(sids.begin(), sids.end());
  for (std::size_t i = 0; i < holders.size(); ++i) {
    Statement query(database_.get(), "SELECT id FROM members WHERE sid = ? ORDER BY id");
    query.Bind(1, holders[i]);
    while (query.Step()) {
      const Sid group = SidOfId(query.Number(0));
      const std::string text = Utf8ForDisplay(ToText(group));
      if (std::find(holders.begin(), holders.end(), text) != holders.end()) continue;
      holders.push_back(text);
      groups.push_back(group);
    }
    if (query.error() != ERROR_SUCCESS) return query.error();
  }
  return ERROR_SUCCESS;
}

Win32Error GroupStore::SetFolder(const std::string& path, bool depends) {
  const std::lock_guard lock(mutex_);
  return Statement(database_.get(), depends ? "INSERT OR IGNORE INTO folders VALUES (?)"
                                            : "DELETE FROM folders WHERE path = ?")
      .Bind(1, path)
      .Run();
}

Win32Error GroupStore::Folders(std::vector<std::string>& paths) const {
  const std::lock_guard lock(mutex_);
  Statement query(database_.get(), "SELECT path FROM folders ORDER BY path");
  while (query.Step()) paths.push_back(query.Utf8(0));
  return query.error();
}

}  // namespace kelvarion::platform
