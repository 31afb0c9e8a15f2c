#include <algorithm>

#include "platform/registry/connections.h"
#include "platform/registry/database.h"
#include "platform/registry/registry.h"
#include "platform/text/compare.h"
#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

using registry::Connection;
using registry::Connections;
using sqlite::Statement;
using sqlite::Transaction;

// A key as the tables name it: the parts from the root down, as they were given.
using Parts = std::vector<std::u16string>;

void AddParts(Parts& parts, std::u16string_view path) {
  while (!path.empty()) {
    const std::size_t end = std::min(path.find(u'\\'), path.size());
    if (end > 0) parts.emplace_back(path.substr(0, end));
    path.remove_prefix(std::min(end + 1, path.size()));
  }
}

std::u16string Folded(const Parts& parts, std::size_t count) {
  std::u16string path;
  for (std::size_t i = 0; i < count; ++i) {
    if (i > 0) path += u'\\';
    path += FoldCase(parts[i]);
  }
  return path;
}

std::u16string Folded(const Parts& parts) { return Folded(parts, parts.size()); }

const char16_t* NameOf(RootKey root) {
  switch (root) {
    case RootKey::kLocalMachine:
      return u"HKEY_LOCAL_MACHINE";
    case RootKey::kUsers:
      return u"HKEY_USERS";
    case RootKey::kCurrentConfig:
      return u"HKEY_CURRENT_CONFIG";
    default:
      return nullptr;
  }
}

// What SQLite would have to change to store it cannot be a name.
bool IsName(std::u16string_view text) {
  std::string ignored;
  return text.find(u'\0') == std::u16string_view::npos && Utf16ToUtf8(text, ignored);
}

// Runs a change; ERROR_FILE_NOT_FOUND when there is nothing that it changes.
Win32Error RunOnSome(const Connection& connection, Statement& statement) {
  if (const Win32Error error = statement.Run()) return error;
  return sqlite3_changes(connection.database()) > 0 ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
}

class SqliteRegistry final : public Registry {
 public:
  SqliteRegistry(const std::string& file, sqlite::Database database, std::u16string user_sid)
      : connections_(file, std::move(database)), user_sid_(std::move(user_sid)) {}

  Win32Error OpenKey(const KeyPath& key) const override;
  Win32Error CreateKey(const KeyPath& key) override;
  Win32Error DeleteTree(const KeyPath& key) override;
  Win32Error EnumerateKeys(const KeyPath& key, std::vector<std::u16string>& out) const override;
  Win32Error EnumerateValues(const KeyPath& key, std::vector<std::u16string>& out) const override;
  Win32Error Query(const KeyPath& key, const std::u16string& name,
                   RegistryValue& out) const override;
  Win32Error Set(const KeyPath& key, const std::u16string& name,
                 const RegistryValue& value) override;
  Win32Error DeleteValue(const KeyPath& key, const std::u16string& name) override;

 private:
  // The keys that a read looks into, in this order; the last one is where writes go.
  std::vector<Parts> Resolve(const KeyPath& key) const;
  // The key to write to. ERROR_FILE_NOT_FOUND for a root that has no keys.
  Win32Error ResolveForWriting(const KeyPath& key, Parts& out) const;
  static Win32Error Exists(sqlite3* database, const Parts& key);
  Win32Error Enumerate(const KeyPath& key, const char* sql, std::vector<std::u16string>& out) const;

  const Connections connections_;
  const std::u16string user_sid_;
};

std::vector<Parts> SqliteRegistry::Resolve(const KeyPath& key) const {
  if (!IsName(key.path)) return {};
  std::vector<Parts> keys;
  if (key.root == RootKey::kCurrentUser) {
    keys = {{u"HKEY_USERS", user_sid_}};
  } else if (key.root == RootKey::kClassesRoot) {
    keys = {{u"HKEY_USERS", user_sid_, u"Software", u"Classes"},
            {u"HKEY_LOCAL_MACHINE", u"Software", u"Classes"}};
  } else if (const char16_t* const root = NameOf(key.root)) {
    keys = {{root}};
  }
  for (Parts& parts : keys) AddParts(parts, key.path);
  return keys;
}

Win32Error SqliteRegistry::ResolveForWriting(const KeyPath& key, Parts& out) const {
  std::vector<Parts> keys = Resolve(key);
  if (keys.empty()) return IsName(key.path) ? ERROR_FILE_NOT_FOUND : ERROR_INVALID_PARAMETER;
  out = std::move(keys.back());
  return ERROR_SUCCESS;
}

Win32Error SqliteRegistry::Exists(sqlite3* database, const Parts& key) {
  const std::u16string path = Folded(key);
  Statement statement(database, "SELECT 1 FROM keys WHERE path = ?1");
  if (statement.Bind(1, path).Step()) return ERROR_SUCCESS;
  return statement.error() ? statement.error() : ERROR_FILE_NOT_FOUND;
}

Win32Error SqliteRegistry::OpenKey(const KeyPath& key) const {
  return connections_.Read([&](Connection& connection) {
    Win32Error result = ERROR_FILE_NOT_FOUND;
    for (const Parts& parts : Resolve(key)) {
      // The roots themselves are always there.
      result = key.path.empty() ? ERROR_SUCCESS : Exists(connection.database(), parts);
      if (result != ERROR_FILE_NOT_FOUND) break;
    }
    return result;
  });
}

Win32Error SqliteRegistry::CreateKey(const KeyPath& key) {
  Parts parts;
  if (const Win32Error error = ResolveForWriting(key, parts)) return error;
  return connections_.Write([&](Connection& connection) {
    Transaction transaction(connection.database());
    if (transaction.error()) return transaction.error();
    for (std::size_t depth = 1; depth <= parts.size(); ++depth) {
      const std::u16string path = Folded(parts, depth);
      const std::u16string parent = Folded(parts, depth - 1);
      Statement insert(connection.database(), "INSERT OR IGNORE INTO keys VALUES(?1, ?2, ?3)");
      const Win32Error error = insert.Bind(1, path).Bind(2, parent).Bind(3, parts[depth - 1]).Run();
      if (error) return error;
    }
    return transaction.Commit();
  });
}

Win32Error SqliteRegistry::DeleteTree(const KeyPath& key) {
  Parts parts;
  if (const Win32Error error = ResolveForWriting(key, parts)) return error;
  if (key.path.empty()) return ERROR_ACCESS_DENIED;
  const std::u16string path = Folded(parts);
  // Whatever is below begins with the path and a separator; "]" follows "\" in the order of bytes.
  const std::u16string first = path + u'\\';
  const std::u16string end = path + u']';
  return connections_.Write([&](Connection& connection) {
    Transaction transaction(connection.database());
    if (transaction.error()) return transaction.error();
    if (const Win32Error error = Exists(connection.database(), parts)) return error;
    for (const char* sql : {"DELETE FROM keys WHERE path = ?1 OR (path >= ?2 AND path < ?3)",
                            "DELETE FROM entries WHERE key = ?1 OR (key >= ?2 AND key < ?3)"}) {
      Statement statement(connection.database(), sql);
      if (const Win32Error error = statement.Bind(1, path).Bind(2, first).Bind(3, end).Run())
        return error;
    }
    return transaction.Commit();
  });
}

Win32Error SqliteRegistry::Enumerate(const KeyPath& key, const char* sql,
                                     std::vector<std::u16string>& out) const {
  out.clear();
  if (const Win32Error error = OpenKey(key)) return error;
  std::vector<std::u16string> names;
  const Win32Error read = connections_.Read([&](Connection& connection) {
    for (const Parts& parts : Resolve(key)) {
      const std::u16string path = Folded(parts);
      Statement statement(connection.database(), sql);
      statement.Bind(1, path);
      while (statement.Step()) names.push_back(statement.Text(0));
      if (statement.error()) return statement.error();
    }
    return Win32Error{ERROR_SUCCESS};
  });
  if (read) return read;
  const auto folded = [](const auto& name) { return FoldCase(name); };
  std::ranges::stable_sort(names, {}, folded);
  const auto repeated = [&](const auto& a, const auto& b) { return folded(a) == folded(b); };
  names.erase(std::unique(names.begin(), names.end(), repeated), names.end());
  out = std::move(names);
  return ERROR_SUCCESS;
}

Win32Error SqliteRegistry::EnumerateKeys(const KeyPath& key,
                                         std::vector<std::u16string>& out) const {
  return Enumerate(key, "SELECT name FROM keys WHERE parent = ?1", out);
}

Win32Error SqliteRegistry::EnumerateValues(const KeyPath& key,
                                           std::vector<std::u16string>& out) const {
  return Enumerate(key, "SELECT name FROM entries WHERE key = ?1", out);
}

Win32Error SqliteRegistry::Query(const KeyPath& key, const std::u16string& name,
                                 RegistryValue& out) const {
  const std::u16string folded = FoldCase(name);
  return connections_.Read([&](Connection& connection) {
    Win32Error result = ERROR_FILE_NOT_FOUND;
    for (const Parts& parts : Resolve(key)) {
      result = connection.Find(Folded(parts), folded, out);
      if (result != ERROR_FILE_NOT_FOUND) break;
    }
    return result;
  });
}

Win32Error SqliteRegistry::Set(const KeyPath& key, const std::u16string& name,
                               const RegistryValue& value) {
  Parts parts;
  if (const Win32Error error = ResolveForWriting(key, parts)) return error;
  if (!IsName(name)) return ERROR_INVALID_PARAMETER;
  if (key.path.empty()) {
    if (const Win32Error error = CreateKey(key)) return error;
  }
  const std::u16string path = Folded(parts);
  const std::u16string folded = FoldCase(name);
  return connections_.Write([&](Connection& connection) {
    Statement statement(connection.database(),
                        "INSERT INTO entries SELECT ?1, ?2, ?3, ?4, ?5"
                        " WHERE EXISTS(SELECT 1 FROM keys WHERE path = ?1)"
                        " ON CONFLICT DO UPDATE SET type = excluded.type, data = excluded.data");
    statement.Bind(1, path).Bind(2, folded).Bind(3, name);
    statement.Bind(4, static_cast<std::int64_t>(value.type)).Bind(5, value.data);
    return RunOnSome(connection, statement);
  });
}

Win32Error SqliteRegistry::DeleteValue(const KeyPath& key, const std::u16string& name) {
  Parts parts;
  if (const Win32Error error = ResolveForWriting(key, parts)) return error;
  const std::u16string path = Folded(parts);
  const std::u16string folded = FoldCase(name);
  return connections_.Write([&](Connection& connection) {
    Statement statement(connection.database(),
                        "DELETE FROM entries WHERE key = ?1 AND folded = ?2");
    statement.Bind(1, path).Bind(2, folded);
    return RunOnSome(connection, statement);
  });
}

}  // namespace

Win32Error OpenRegistryFile(const std::string& file, const std::u16string& user_sid,
                            std::unique_ptr<Registry>& out) {
  out.reset();
  sqlite::Database database;
  if (const Win32Error error = registry::OpenDatabase(file, database)) return error;
  out = std::make_unique<SqliteRegistry>(file, std::move(database), user_sid);
  return ERROR_SUCCESS;
}

}  // namespace kelvarion::platform
