#include "platform/registry/database.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace kelvarion::platform::registry {
namespace {

// Keys and values are found by their folded names; the names as they were first given are kept for
// those who list them. A key's parent is the path before its last separator.
constexpr const char* kTables =
    "PRAGMA journal_mode = WAL;"
    "PRAGMA user_version = 1;"
    "CREATE TABLE keys(path TEXT PRIMARY KEY, parent TEXT NOT NULL, name TEXT NOT NULL)"
    " WITHOUT ROWID;"
    "CREATE INDEX keys_by_parent ON keys(parent);"
    "CREATE TABLE entries(key TEXT NOT NULL, folded TEXT NOT NULL, name TEXT NOT NULL,"
    " type INTEGER NOT NULL, data BLOB NOT NULL, PRIMARY KEY(key, folded)) WITHOUT ROWID;";
constexpr int kVersion = 1;

// Long enough for any writer in front to finish, short enough to tell a hanging one.
constexpr int kBusyMilliseconds = 20'000;

Win32Error OpenConnection(const std::string& file, Database& out) {
  sqlite3* connection = nullptr;
  const int result = sqlite3_open_v2(file.c_str(), &connection,
                                     SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  Database database(connection);
  if (result != SQLITE_OK) return FromSqlite(result);
  sqlite3_busy_timeout(connection, kBusyMilliseconds);
  const int set = sqlite3_exec(connection, "PRAGMA synchronous = FULL", nullptr, nullptr, nullptr);
  if (set != SQLITE_OK) return FromSqlite(set);
  out = std::move(database);
  return ERROR_SUCCESS;
}

Win32Error MakeTables(const std::string& file) {
  Database database;
  if (const Win32Error error = OpenConnection(file, database)) return error;
  return FromSqlite(sqlite3_exec(database.get(), kTables, nullptr, nullptr, nullptr));
}

// The name of a new file must be on the disk before values in it are promised to be.
void SyncFolderOf(const std::string& file) {
  const std::size_t slash = file.find_last_of('/');
  const std::string folder = slash == std::string::npos ? "." : file.substr(0, slash + 1);
  const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;
  fsync(descriptor);
  close(descriptor);
}

Win32Error FromFileErrno(int error) {
  if (error == ENOENT || error == ENOTDIR) return ERROR_PATH_NOT_FOUND;
  if (error == ENOSPC) return ERROR_DISK_FULL;
  return ERROR_ACCESS_DENIED;
}

// Builds the file under a name of its own and links it to its place, so that of several processes
// one wins and none opens a half-made one. mkstemp gives it to its owner alone.
Win32Error CreateDatabase(const std::string& file) {
  std::string building = file + ".XXXXXX";
  const int descriptor = mkstemp(building.data());
  if (descriptor < 0) return FromFileErrno(errno);
  close(descriptor);
  Win32Error error = MakeTables(building);
  if (error == ERROR_SUCCESS && link(building.c_str(), file.c_str()) != 0 && errno != EEXIST)
    error = FromFileErrno(errno);
  unlink(building.c_str());
  SyncFolderOf(file);
  return error;
}

}  // namespace

Win32Error FromSqlite(int code) {
  switch (code & 0xFF) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
      return ERROR_SUCCESS;
    case SQLITE_NOMEM:
      return ERROR_NOT_ENOUGH_MEMORY;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return ERROR_SHARING_VIOLATION;
    case SQLITE_PERM:
    case SQLITE_AUTH:
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
      return ERROR_ACCESS_DENIED;
    case SQLITE_FULL:
      return ERROR_DISK_FULL;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return ERROR_BADDB;
    default:
      return ERROR_REGISTRY_IO_FAILED;
  }
}

Win32Error OpenDatabase(const std::string& file, Database& out) {
  struct stat status {};
  if (stat(file.c_str(), &status) != 0) {
    if (errno != ENOENT) return FromFileErrno(errno);
    if (const Win32Error error = CreateDatabase(file)) return error;
  }
  Database database;
  if (const Win32Error error = OpenConnection(file, database)) return error;
  Statement version(database.get(), "PRAGMA user_version");
  if (!version.Step()) return version.error();
  if (version.Number(0) != kVersion) return ERROR_BADDB;
  out = std::move(database);
  return ERROR_SUCCESS;
}

Statement::Statement(sqlite3* database, const char* sql)
    : result_(sqlite3_prepare_v2(database, sql, -1, &statement_, nullptr)) {}

Statement& Statement::Bind(int parameter, std::u16string_view text) {
  // Also an empty text must be one, not NULL.
  const char16_t* const data = text.data() ? text.data() : u"";
  if (result_ == SQLITE_OK)
    result_ = sqlite3_bind_text16(statement_, parameter, data, static_cast<int>(text.size() * 2),
                                  SQLITE_STATIC);
  return *this;
}

Statement& Statement::Bind(int parameter, std::int64_t number) {
  if (result_ == SQLITE_OK) result_ = sqlite3_bind_int64(statement_, parameter, number);
  return *this;
}

Statement& Statement::Bind(int parameter, const std::vector<std::uint8_t>& bytes) {
  if (result_ != SQLITE_OK) return *this;
  if (bytes.empty())
    result_ = sqlite3_bind_zeroblob(statement_, parameter, 0);
  else
    result_ = sqlite3_bind_blob(statement_, parameter, bytes.data(), static_cast<int>(bytes.size()),
                                SQLITE_STATIC);
  return *this;
}

bool Statement::Step() {
  if (result_ == SQLITE_OK || result_ == SQLITE_ROW) result_ = sqlite3_step(statement_);
  return result_ == SQLITE_ROW;
}

Win32Error Statement::Run() {
  while (Step()) {
  }
  return error();
}

std::u16string Statement::Text(int column) const {
  const auto* text = static_cast<const char16_t*>(sqlite3_column_text16(statement_, column));
  return text ? std::u16string(
                    text, static_cast<std::size_t>(sqlite3_column_bytes16(statement_, column) / 2))
              : std::u16string();
}

std::vector<std::uint8_t> Statement::Bytes(int column) const {
  const auto* data = static_cast<const std::uint8_t*>(sqlite3_column_blob(statement_, column));
  return data ? std::vector<std::uint8_t>(data, data + sqlite3_column_bytes(statement_, column))
              : std::vector<std::uint8_t>();
}

Transaction::Transaction(sqlite3* database)
    : database_(database),
      error_(Statement(database, "BEGIN IMMEDIATE").Run()),
      open_(error_ == ERROR_SUCCESS) {}

Transaction::~Transaction() {
  if (open_) Statement(database_, "ROLLBACK").Run();
}

Win32Error Transaction::Commit() {
  error_ = Statement(database_, "COMMIT").Run();
  open_ = error_ != ERROR_SUCCESS;
  return error_;
}

}  // namespace kelvarion::platform::registry
