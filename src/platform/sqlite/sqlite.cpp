#include "platform/sqlite/sqlite.h"

namespace kelvarion::platform::sqlite {

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

Statement& Statement::Bind(int parameter, std::string_view utf8) {
  const char* const data = utf8.data() ? utf8.data() : "";
  if (result_ == SQLITE_OK)
    result_ = sqlite3_bind_text(statement_, parameter, data, static_cast<int>(utf8.size()),
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

void Statement::Reset() {
  if (!statement_) return;  // It never was one.
  sqlite3_reset(statement_);
  sqlite3_clear_bindings(statement_);
  result_ = SQLITE_OK;
}

std::u16string Statement::Text(int column) const {
  const auto* text = static_cast<const char16_t*>(sqlite3_column_text16(statement_, column));
  return text ? std::u16string(
                    text, static_cast<std::size_t>(sqlite3_column_bytes16(statement_, column) / 2))
              : std::u16string();
}

std::string Statement::Utf8(int column) const {
  const unsigned char* text = sqlite3_column_text(statement_, column);
  const int length = sqlite3_column_bytes(statement_, column);
  return text ? std::string(reinterpret_cast<const char*>(text), static_cast<std::size_t>(length))
              : std::string();
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

}  // namespace kelvarion::platform::sqlite
