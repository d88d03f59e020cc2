// The application database, opened so that nothing is written: no log, no index of a log, no lock file.
#pragma once

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Exception.h>
#include <SQLiteCpp/Statement.h>

#include <memory>
#include <optional>
#include <string>

#include "doctor/check.h"

class DatabaseFile {
 public:
  // A database that another process keeps is waited for so long.
  DatabaseFile(const std::string& directory, unsigned limit_ms);

  const std::string& path() const { return path_; }
  SQLite::Database* get() { return database_.get(); }  // null where it cannot be read
  const Finding& finding() const { return finding_; }  // of opening it

 private:
  Finding Open(unsigned limit_ms);
  Finding Count();
  Finding WhyUnreadable(const SQLite::Exception& error, unsigned limit_ms) const;

  const std::string directory_;
  const std::string path_;
  bool log_left_behind_ = false;
  std::unique_ptr<SQLite::Database> database_;
  Finding finding_;
};
