// The few calls of SQLite that the machine's stores make.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/com/types.h"

namespace kelvarion::platform::sqlite {

// The Win32 error that stands for a result code of SQLite.
Win32Error FromSqlite(int code);

struct CloseDatabase {
  void operator()(sqlite3* database) const { sqlite3_close(database); }
};
using Database = std::unique_ptr<sqlite3, CloseDatabase>;

// One statement of a connection; parameters are numbered from 1, columns from 0. What is bound must
// outlive the statement. The first failure is kept in error() and makes all further calls idle.
class Statement {
 public:
  Statement(sqlite3* database, const char* sql);
  ~Statement() { sqlite3_finalize(statement_); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  Statement& Bind(int parameter, std::u16string_view text);
  Statement& Bind(int parameter, std::string_view utf8);
  Statement& Bind(int parameter, std::int64_t number);
  Statement& Bind(int parameter, const std::vector<std::uint8_t>& bytes);

  // True while there is a row.
  bool Step();
  // Runs to the end and returns error().
  Win32Error Run();
  // Ends what is under way; it can be run again, with other values.
  void Reset();
  Win32Error error() const { return FromSqlite(result_); }

  std::u16string Text(int column) const;
  std::string Utf8(int column) const;
  std::int64_t Number(int column) const { return sqlite3_column_int64(statement_, column); }
  std::vector<std::uint8_t> Bytes(int column) const;

 private:
  sqlite3_stmt* statement_ = nullptr;
  int result_ = SQLITE_OK;
};

// A write transaction, undone unless Commit succeeds.
class Transaction {
 public:
  explicit Transaction(sqlite3* database);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  Win32Error error() const { return error_; }
  Win32Error Commit();

 private:
  sqlite3* database_;
  Win32Error error_;
  bool open_;
};

}  // namespace kelvarion::platform::sqlite
