// A database and its statements, closed and finalised by themselves. A failure is an exception with SQLite's message.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace simulator {

class DatabaseError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class Statement;

class Database {
 public:
  explicit Database(const std::string& path);  // of a file that is there, through no link

  Statement Prepare(const std::string& sql);
  void Run(const std::string& sql);  // a statement without parameters or result
  int Changes() const { return sqlite3_changes(handle_.get()); }
  sqlite3* handle() const { return handle_.get(); }

 private:
  struct Close {
    void operator()(sqlite3* handle) const { sqlite3_close(handle); }
  };
  std::unique_ptr<sqlite3, Close> handle_;
};

class Statement {
 public:
  Statement(const Database& database, const std::string& sql);

  Statement& Bind(const std::string& text);
  Statement& Bind(sqlite3_int64 number);
  bool Step();  // true for a row
  std::string Text(int column) const;
  int Integer(int column) const { return sqlite3_column_int(handle_.get(), column); }

 private:
  void Check(int code) const;

  struct Finalize {
    void operator()(sqlite3_stmt* handle) const { sqlite3_finalize(handle); }
  };
  sqlite3* database_;
  std::unique_ptr<sqlite3_stmt, Finalize> handle_;
  int bound_ = 0;
};

// Rolls back unless committed.
class Transaction {
 public:
  explicit Transaction(Database& database) : database_(database) { database_.Run("BEGIN IMMEDIATE"); }
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;
  void Commit();

 private:
  Database& database_;
  bool open_ = true;
};

}  // namespace simulator
