// The few calls of SQLite that the group store makes.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>

#include "platform/com/types.h"

namespace kelvarion::platform::sqlite {

struct CloseDatabase {
  void operator()(sqlite3* database) const { sqlite3_close(database); }
};
using Database = std::unique_ptr<sqlite3, CloseDatabase>;

// The Win32 error that stands for a result code of SQLite.
Win32Error ErrorOf(int result);

// One statement, run to its end row by row. Any failure ends it and stays in Error().
class Statement {
 public:
  Statement(sqlite3* database, const char* sql);
  ~Statement();
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  // Parameters are numbered from 1.
  Statement& Bind(int index, const std::string& text);
  Statement& Bind(int index, std::int64_t number);
  // True while there is a row.
  bool Step();
  // Runs a statement that yields no rows.
  Win32Error Run();

  std::string Text(int column) const;
  std::int64_t Number(int column) const;
  Win32Error Error() const { return error_; }

 private:
  sqlite3_stmt* statement_ = nullptr;
  Win32Error error_ = ERROR_SUCCESS;
};

// Takes the write lock at once; rolls back unless committed.
class Transaction {
 public:
  explicit Transaction(sqlite3* database);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  Win32Error Error() const { return error_; }
  Win32Error Commit();

 private:
  sqlite3* database_;
  Win32Error error_;
  bool open_;
};

}  // namespace kelvarion::platform::sqlite
