#include "platform/registry/connections.h"

#include "platform/registry/database.h"

namespace kelvarion::platform::registry {
namespace {

// More are closed as soon as nobody needs them.
constexpr std::size_t kIdle = 8;

}  // namespace

Connection::Connection(sqlite::Database database)
    : database_(std::move(database)),
      find_(database_.get(), "SELECT type, data FROM entries WHERE key = ?1 AND folded = ?2") {}

Win32Error Connection::Find(const std::u16string& key, const std::u16string& name,
                            RegistryValue& out) {
  const bool found = find_.Bind(1, key).Bind(2, name).Step();
  const Win32Error error = find_.error();
  if (found) out = {static_cast<RegistryType>(find_.Number(0)), find_.Bytes(1)};
  find_.Reset();
  return found || error ? error : ERROR_FILE_NOT_FOUND;
}

Connections::Connections(std::string file, sqlite::Database first) : file_(std::move(file)) {
  idle_.push_back(std::make_unique<Connection>(std::move(first)));
}

Win32Error Connections::Read(const Work& work) const {
  std::unique_ptr<Connection> connection;
  if (const Win32Error error = Borrow(connection)) return error;
  const Win32Error result = work(*connection);
  GiveBack(std::move(connection));
  return result;
}

Win32Error Connections::Write(const Work& work) const {
  const std::lock_guard lock(writing_);
  return Read(work);
}

Win32Error Connections::Borrow(std::unique_ptr<Connection>& out) const {
  {
    const std::lock_guard lock(mutex_);
    if (!idle_.empty()) {
      out = std::move(idle_.back());
      idle_.pop_back();
      return ERROR_SUCCESS;
    }
  }
  sqlite::Database database;
  if (const Win32Error error = OpenConnection(file_, database)) return error;
  out = std::make_unique<Connection>(std::move(database));
  return ERROR_SUCCESS;
}

void Connections::GiveBack(std::unique_ptr<Connection> connection) const {
  const std::lock_guard lock(mutex_);
  if (idle_.size() < kIdle) idle_.push_back(std::move(connection));
}

}  // namespace kelvarion::platform::registry
