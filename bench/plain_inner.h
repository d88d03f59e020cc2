// The inner side's queries with nothing but SQLite, on a connection kept open.
#pragma once

#include <nuv/nuv_inner_database.h>
#include <sqlite3.h>

#include <memory>
#include <string>

namespace bench {

class PlainInner {
 public:
  // The program ends where the database cannot be read, here and below.
  explicit PlainInner(const char* path);
  ~PlainInner() { sqlite3_close(connection_); }
  PlainInner(const PlainInner&) = delete;
  PlainInner& operator=(const PlainInner&) = delete;

  // Whether there is an installed application of that name.
  bool Lookup(const std::string& app_id, _APPSINFO_T& info);

  // All installed applications, in the order of their index, and their number.
  std::unique_ptr<_APPSINFO_T[]> List(int& length);

 private:
  sqlite3_stmt* Prepare(const std::string& sql);
  int Count();

  sqlite3* connection_ = nullptr;
};

}  // namespace bench
