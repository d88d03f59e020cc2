// The catalogue's queries with nothing but SQLite: the statements that the library runs, on a connection kept open.
#pragma once

#include <nuv/nuv_app_types.h>
#include <sqlite3.h>

namespace bench {

class PlainCatalogue {
 public:
  // The program ends where the database cannot be read, here and below.
  explicit PlainCatalogue(const char* path);
  ~PlainCatalogue() { sqlite3_close(connection_); }
  PlainCatalogue(const PlainCatalogue&) = delete;
  PlainCatalogue& operator=(const PlainCatalogue&) = delete;

  // Whether there is a usable application of that name.
  bool Lookup(const char* app_id, nuv_app_info_s& info);

  // A page of the usable, visible applications, in the order of their index: a block from malloc(), and its length. A
  // negative index means all of them, in one statement without a limit.
  nuv_app_info_s* List(int index, int count, int& length);

 private:
  sqlite3_stmt* Prepare(const char* sql);
  int CountVisible();

  sqlite3* connection_ = nullptr;
};

}  // namespace bench
