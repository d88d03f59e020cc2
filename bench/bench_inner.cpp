// The inner side of the database, through the public interface and with nothing but SQLite or GIO.
//   bench_inner plain|library QUERY COUNT ROWS    asks COUNT times, for an instruction counter
//   bench_inner check QUERY 1 ROWS                fails unless both sides give the same
// QUERY is "lookup" (by id), "list" (all, by index) or "update" (a launch counted by the service); ROWS is how many
// rows the database of $NUV_HOST_DIR has.
#include <nuv/nuv_inner_database.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "plain_calls.h"
#include "plain_inner.h"

namespace {

std::string AppId(int rows) {
  char app_id[64];
  snprintf(app_id, sizeof app_id, "org.example.tv.app%06d", rows / 2);
  return app_id;
}

struct Answer {
  _APPSINFO_T found;
  std::unique_ptr<_APPSINFO_T[]> list;
  int length = 0;
};

void AskPlainly(bench::PlainInner& database, const std::string& query, const std::string& app_id, Answer& answer) {
  if (query == "lookup") {
    if (!database.Lookup(app_id, answer.found)) exit(1);
  } else {
    answer.list = database.List(answer.length);
  }
}

void AskLibrary(const std::string& query, const std::string& app_id, Answer& answer) {
  if (query == "lookup") {
    if (nuv_inner_get_app_info_by_id(app_id, answer.found, true) != 0) exit(1);
  } else if (query == "update") {
    if (nuv_inner_update_app_count(app_id) != 0) exit(1);
  } else {
    _APPSINFO_T* list = nullptr;
    if (nuv_inner_get_all_app_list(&list, &answer.length) != 0) exit(1);
    answer.list.reset(list);
  }
}

// Compares a few members only: both sides fill a record from the same columns.
bool Same(const _APPSINFO_T& left, const _APPSINFO_T& right) {
  return left.id == right.id && left.title == right.title && left.reserved_string_4 == right.reserved_string_4 &&
         left.app_index == right.app_index && left.reserved_tinyint_11 == right.reserved_tinyint_11 &&
         left.is_lock == right.is_lock && left.reserved_tinyint_14 == right.reserved_tinyint_14;
}

bool BothAgree(bench::PlainInner& database, const std::string& query, const std::string& app_id) {
  Answer plain, library;
  AskPlainly(database, query, app_id, plain);
  AskLibrary(query, app_id, library);
  bool same = plain.length == library.length && Same(plain.found, library.found);
  for (int i = 0; same && i < plain.length; ++i) same = Same(plain.list[i], library.list[i]);
  return same;
}

}  // namespace

int main(int argc, char** argv) {
  const char* const directory = getenv("NUV_HOST_DIR");
  if (argc != 5 || directory == nullptr) return 2;
  const std::string side = argv[1], query = argv[2], app_id = AppId(atoi(argv[4]));
  const int count = atoi(argv[3]);
  Answer answer;
  if (side == "library") {
    for (int i = 0; i < count; ++i) AskLibrary(query, app_id, answer);
    return 0;
  }
  if (query == "update") {
    GDBusConnection* const connection = bench::SystemBus();
    for (int i = 0; i < count; ++i) bench::PlainUpdate(connection, app_id.c_str());
    return 0;
  }
  bench::PlainInner database((std::string(directory) + "/.corvane.db").c_str());
  if (side == "check") return BothAgree(database, query, app_id) ? 0 : 1;
  for (int i = 0; i < count; ++i) AskPlainly(database, query, app_id, answer);
  return 0;
}
