// Connections of this process to the file of a registry.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/registry/registry.h"
#include "platform/sqlite/sqlite.h"

namespace kelvarion::platform::registry {

// For one thread at a time.
class Connection {
 public:
  explicit Connection(sqlite::Database database);

  sqlite3* database() const { return database_.get(); }
  // The value of a key; both names are folded. ERROR_FILE_NOT_FOUND when there is none.
  Win32Error Find(const std::u16string& key, const std::u16string& name, RegistryValue& out);

 private:
  sqlite::Database database_;
  // Every request asks for some settings, so this one is compiled only once.
  sqlite::Statement find_;
};

// Whoever reads or writes has a connection alone, so that readers wait neither for each other nor
// for the disk of a writer. Safe from any thread.
class Connections {
 public:
  Connections(std::string file, sqlite::Database first);

  using Work = std::function<Win32Error(Connection&)>;
  // What the work returns, or why there is no connection to do it with.
  Win32Error Read(const Work& work) const;
  // The same for one writer after another: SQLite lets those that meet sleep and try again.
  Win32Error Write(const Work& work) const;

 private:
  Win32Error Borrow(std::unique_ptr<Connection>& out) const;
  void GiveBack(std::unique_ptr<Connection> connection) const;

  const std::string file_;
  mutable std::mutex writing_;
  mutable std::mutex mutex_;
  mutable std::vector<std::unique_ptr<Connection>> idle_;
};

}  // namespace kelvarion::platform::registry
