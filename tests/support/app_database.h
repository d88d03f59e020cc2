// A real application database file, written with a connection of the test's own.
#pragma once

#include <sqlite3.h>

#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "temp_dir.h"

// The words of a text that blanks separate.
std::vector<std::string> Words(const std::string& text);

class AppDatabase {
 public:
  using Value = std::variant<int, std::string, std::nullptr_t>;
  using Row = std::map<std::string, Value>;

  // Creates ".corvane.db" in a directory of its own, with empty tables.
  AppDatabase();

  const std::string& directory() const { return directory_.path(); }
  std::string path() const { return directory_ / ".corvane.db"; }

  // Adds an installed, available, visible application; the row says what else it has, or has otherwise.
  void Add(const std::string& id, const Row& row = {});
  // Adds count applications "app0", "app1" ... with an app_index of 0, 1 ...
  void AddMany(int count);
  void AddConfig(const std::string& name, const std::string& value);
  void Run(const std::string& sql);
  // First column of the first row, as text.
  std::string Ask(const std::string& sql);
  // Gives up the test's own connection, which otherwise stays open; the next use opens it again.
  void Close();

  // Names of all columns of the applications' table, and whether they hold integers.
  static const std::vector<std::pair<std::string, bool>>& Columns();
  // The statement that reads full rows, as SQLite gets it in front of a clause.
  static std::string FullRowSelect();

 private:
  sqlite3* Open();

  TempDir directory_;
  std::unique_ptr<sqlite3, int (*)(sqlite3*)> connection_{nullptr, sqlite3_close};
};
