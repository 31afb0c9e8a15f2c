#include "platform/security/sqlite.h"

namespace kelvarion::platform::sqlite {

Win32Error ErrorOf(int result) {
  switch (result & 0xFF) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
      return ERROR_SUCCESS;
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
    case SQLITE_NOMEM:
      return ERROR_NOT_ENOUGH_MEMORY;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return ERROR_BADDB;
    default:
      return ERROR_GEN_FAILURE;
  }
}

Statement::Statement(sqlite3* database, const char* sql)
    : error_(ErrorOf(sqlite3_prepare_v2(database, sql, -1, &statement_, nullptr))) {}

Statement::~Statement() { sqlite3_finalize(statement_); }

Statement& Statement::Bind(int index, const std::string& text) {
  if (error_ == ERROR_SUCCESS)
    error_ = ErrorOf(sqlite3_bind_text(statement_, index, text.data(),
                                       static_cast<int>(text.size()), SQLITE_TRANSIENT));
  return *this;
}

Statement& Statement::Bind(int index, std::int64_t number) {
  if (error_ == ERROR_SUCCESS) error_ = ErrorOf(sqlite3_bind_int64(statement_, index, number));
  return *this;
}

bool Statement::Step() {
  if (error_ != ERROR_SUCCESS) return false;
  const int result = sqlite3_step(statement_);
  error_ = ErrorOf(result);
  return result == SQLITE_ROW;
}

Win32Error Statement::Run() {
  while (Step()) {
  }
  return error_;
}

std::string Statement::Text(int column) const {
  const unsigned char* text = sqlite3_column_text(statement_, column);
  const int length = sqlite3_column_bytes(statement_, column);
  return text ? std::string(reinterpret_cast<const char*>(text), static_cast<std::size_t>(length))
              : std::string();
}

std::int64_t Statement::Number(int column) const {
  return sqlite3_column_int64(statement_, column);
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
  if (error_ == ERROR_SUCCESS) open_ = false;
  return error_;
}

}  // namespace kelvarion::platform::sqlite
