// Application databases of any shape and content, made of a fuzzer's input: sound ones, ones with a damaged schema,
// ones with unlikely values, and files with damaged bytes.
#pragma once

#include <sqlite3.h>

#include <string>
#include <vector>

#include "support/input.h"
#include "temp_dir.h"

namespace fuzz {

class DamagedDatabase {
 public:
  // Makes ".corvane.db" anew in a directory that the process has for all of its inputs, which is path variable 24.
  explicit DamagedDatabase(Input& input);

  // The bytes of the file and of its journal.
  static std::string Content();

 private:
  using Columns = std::vector<std::pair<std::string, std::string>>;  // names and what follows them

  void Fill();
  void Settings();
  std::string JournalOfUnfinishedWriter();
  Columns ApplicationColumns();
  void MakeTable(const std::string& name, const Columns& columns);
  void AddRows(const std::string& table, const Columns& columns);
  void AddTriggers(const std::string& table);
  void BindAny(sqlite3_stmt* statement, int position);
  void BindCell(sqlite3_stmt* statement, int position, const std::string& column);
  void Run(const std::string& sql);
  void DamageBytes();

  Input& input_;
  sqlite3* connection_ = nullptr;
  std::vector<std::string> texts_;  // bound until the statement is done
};

// A key that applications of the database may have, or any other text.
std::string AnyKey(Input& input);

}  // namespace fuzz
