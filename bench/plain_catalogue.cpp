#include "plain_catalogue.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "plain_record.h"

namespace bench {

namespace {

constexpr const char* kLookup = BENCH_SELECT_RECORD
    " where (id = ?  or kelvo_id = ? or pkgname = ?)  and install_state = ? and is_app_available = ? and "
    "is_need_reset = ? ";

#define BENCH_VISIBLE " where is_app_available = ? and install_state = ?  and is_hidden = ? and is_need_reset = ? "
constexpr const char* kCount = "select count(id) from widgetinfo" BENCH_VISIBLE;
constexpr const char* kList = BENCH_SELECT_RECORD BENCH_VISIBLE " order by app_index asc ";
constexpr const char* kPage = BENCH_SELECT_RECORD BENCH_VISIBLE " order by app_index asc limit ?,? ";

[[noreturn]] void Fail(sqlite3* connection) {
  fprintf(stderr, "%s\n", sqlite3_errmsg(connection));
  exit(1);
}

void BindVisible(sqlite3_stmt* statement) {
  sqlite3_bind_int(statement, 1, 1);
  sqlite3_bind_int(statement, 2, 3);
  sqlite3_bind_int(statement, 3, 0);
  sqlite3_bind_int(statement, 4, 0);
}

}  // namespace

PlainCatalogue::PlainCatalogue(const char* path) {
  constexpr int kFlags = SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX;
  if (sqlite3_open_v2(path, &connection_, kFlags, nullptr) != SQLITE_OK) Fail(connection_);
}

sqlite3_stmt* PlainCatalogue::Prepare(const char* sql) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(connection_, sql, -1, &statement, nullptr) != SQLITE_OK) Fail(connection_);
  return statement;
}

bool PlainCatalogue::Lookup(const char* app_id, nuv_app_info_s& info) {
  sqlite3_stmt* const statement = Prepare(kLookup);
  for (int i = 1; i <= 3; ++i) sqlite3_bind_text(statement, i, app_id, -1, SQLITE_STATIC);
  sqlite3_bind_int(statement, 4, 3);
  sqlite3_bind_int(statement, 5, 1);
  sqlite3_bind_int(statement, 6, 0);
  const bool found = sqlite3_step(statement) == SQLITE_ROW;
  if (found) {
    memset(&info, 0, sizeof info);
    ReadRecord(statement, info);
    while (sqlite3_step(statement) == SQLITE_ROW) {
    }
  }
  sqlite3_finalize(statement);
  return found;
}

int PlainCatalogue::CountVisible() {
  sqlite3_stmt* const statement = Prepare(kCount);
  BindVisible(statement);
  int count = 0;
  while (sqlite3_step(statement) == SQLITE_ROW) count = sqlite3_column_int(statement, 0);
  sqlite3_finalize(statement);
  return count;
}

nuv_app_info_s* PlainCatalogue::List(int index, int count, int& length) {
  length = CountVisible();
  if (index >= 0) length -= index;
  if (count >= 1 && count < length) length = count;
  if (length < 1) return nullptr;
  const size_t size = static_cast<size_t>(length) * sizeof(nuv_app_info_s);
  auto* const list = static_cast<nuv_app_info_s*>(malloc(size));
  if (list == nullptr) return nullptr;
  sqlite3_stmt* const statement = Prepare(index >= 0 ? kPage : kList);
  BindVisible(statement);
  if (index >= 0) {
    sqlite3_bind_int(statement, 5, index);
    sqlite3_bind_int(statement, 6, length);
  }
  memset(list, 0, size);
  int stored = 0;
  while (sqlite3_step(statement) == SQLITE_ROW) {
    if (stored < length) ReadRecord(statement, list[stored++]);
  }
  sqlite3_finalize(statement);
  return list;
}

}  // namespace bench
