#include "platform/registry/database.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "platform/files/files.h"

namespace kelvarion::platform::registry {
namespace {

using sqlite::Database;
using sqlite::FromSqlite;

// Keys and values are found by their folded names; the names as they were first given are kept for
// those who list them. A key's parent is the path before its last separator.
constexpr const char* kTables =
    "PRAGMA user_version = 1;"
    "CREATE TABLE keys(path TEXT PRIMARY KEY, parent TEXT NOT NULL, name TEXT NOT NULL)"
    " WITHOUT ROWID;"
    "CREATE INDEX keys_by_parent ON keys(parent);"
    "CREATE TABLE entries(key TEXT NOT NULL, folded TEXT NOT NULL, name TEXT NOT NULL,"
    " type INTEGER NOT NULL, data BLOB NOT NULL, PRIMARY KEY(key, folded)) WITHOUT ROWID;";
constexpr int kVersion = 1;

// Long enough for any writer in front to finish, short enough to tell a hanging one.
constexpr int kBusyMilliseconds = 20'000;

Win32Error MakeTables(const std::string& file) {
  Database database;
  if (const Win32Error error = OpenConnection(file, database)) return error;
  const int made = sqlite3_exec(database.get(), kTables, nullptr, nullptr, nullptr);
  if (made != SQLITE_OK) return FromSqlite(made);
  // Not before: what stands in the log only would be lost when the file gets its name.
  sqlite::Statement mode(database.get(), "PRAGMA journal_mode = WAL");
  if (mode.Step() && mode.Utf8(0) == "wal") return ERROR_SUCCESS;
  return mode.error() == ERROR_SUCCESS ? ERROR_REGISTRY_IO_FAILED : mode.error();
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

// Builds the file under another name and moves it to its place, so that nobody opens a half-made
// one. The file being built is the lock between the processes that want to; what one that was
// killed left of it is taken over.
Win32Error CreateDatabase(const std::string& file) {
  const std::string building = file + ".new";
  const FileLock lock(PathFromNative(building));
  // The file to lock is made when missing, so it is its folder that does not exist.
  if (lock.Error() == ERROR_FILE_NOT_FOUND) return ERROR_PATH_NOT_FOUND;
  if (lock.Error() != ERROR_SUCCESS) return lock.Error();
  struct stat status {};
  if (stat(file.c_str(), &status) == 0) {  // Another process was faster.
    unlink(building.c_str());
    return ERROR_SUCCESS;
  }
  for (const char* left : {"-journal", "-wal", "-shm"}) unlink((building + left).c_str());
  Win32Error error = truncate(building.c_str(), 0) == 0 ? MakeTables(building) : FromErrno(errno);
  if (error == ERROR_SUCCESS && rename(building.c_str(), file.c_str()) != 0)
    error = FromErrno(errno);
  if (error != ERROR_SUCCESS) unlink(building.c_str());
  SyncFolderOf(file);
  return error;
}

}  // namespace

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

Win32Error OpenDatabase(const std::string& file, Database& out) {
  struct stat status {};
  if (stat(file.c_str(), &status) != 0) {
    if (errno != ENOENT) return FromErrno(errno);
    if (const Win32Error error = CreateDatabase(file)) return error;
  }
  Database database;
  if (const Win32Error error = OpenConnection(file, database)) return error;
  sqlite::Statement version(database.get(), "PRAGMA user_version");
  if (!version.Step()) return version.error();
  if (version.Number(0) != kVersion) return ERROR_BADDB;
  out = std::move(database);
  return ERROR_SUCCESS;
}

}  // namespace kelvarion::platform::registry
