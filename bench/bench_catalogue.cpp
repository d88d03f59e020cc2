// Queries of the catalogue, through the public interface and with nothing but SQLite, on the database of $NUV_HOST_DIR.
//   bench_catalogue plain|library QUERY COUNT ROWS    asks COUNT times, for an instruction counter
//   bench_catalogue wall QUERY COUNT ROWS             COUNT of each, in turns; prints both medians in nanoseconds
//   bench_catalogue check QUERY 1 ROWS                fails unless both sides give the same records
// QUERY is "lookup" (by id), "list" (all, by index) or "page" (20 of them); ROWS is how many rows the database has.
#include <nuv/nuv_app_database.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "plain_catalogue.h"
#include "wall_time.h"

namespace {

constexpr int kPageLength = 20;

struct Free {
  void operator()(void* block) const { free(block); }
};

struct Records {
  std::unique_ptr<nuv_app_info_s[], Free> list;
  int length = 0;
};

// What is asked, the same for both sides. An index of -1 and a count of 0 ask for everything.
struct Query {
  bool lookup;
  std::string app_id;
  int index = -1;
  int count = 0;
};

Query MakeQuery(const char* name, int rows) {
  char app_id[64];
  snprintf(app_id, sizeof app_id, "org.example.tv.app%06d", rows / 2);
  if (strcmp(name, "lookup") == 0) return {true, app_id};
  if (strcmp(name, "page") == 0) return {false, "", rows / 2, kPageLength};
  return {false, ""};
}

// The record of a lookup. It is outside of both sides, which fill it in turn.
nuv_app_info_s found;

Records AskPlainly(bench::PlainCatalogue& catalogue, const Query& query) {
  Records records;
  if (query.lookup) {
    if (!catalogue.Lookup(query.app_id.c_str(), found)) exit(1);
  } else {
    records.list.reset(catalogue.List(query.index, query.count, records.length));
    if (records.list == nullptr) exit(1);
  }
  return records;
}

Records AskLibrary(const Query& query) {
  Records records;
  if (query.lookup) {
    if (m_nuv_get_app_info(query.app_id.c_str(), &found) != 0) exit(1);
  } else {
    const nuv_app_filter_s everything = {NUV_APP_FILTER_ANY, 0, NUV_APP_FILTER_ANY};
    nuv_app_info_s* list = nullptr;
    if (GetAppList(everything, NUV_APP_VIEWMODE_INDEX, query.index, query.count, false, &records.length, &list,
                   nullptr) != 0) {
      exit(1);
    }
    records.list.reset(list);
  }
  return records;
}

bool BothAgree(bench::PlainCatalogue& catalogue, const Query& query) {
  const Records plain = AskPlainly(catalogue, query);
  const nuv_app_info_s plainly_found = found;
  memset(&found, 0, sizeof found);
  const Records library = AskLibrary(query);
  if (query.lookup) return memcmp(&plainly_found, &found, sizeof found) == 0;
  const size_t size = static_cast<size_t>(plain.length) * sizeof(nuv_app_info_s);
  return plain.length == library.length && memcmp(plain.list.get(), library.list.get(), size) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  const char* const directory = getenv("NUV_HOST_DIR");
  if (argc != 5 || directory == nullptr) return 2;
  const std::string side = argv[1];
  const int count = atoi(argv[3]);
  const Query query = MakeQuery(argv[2], atoi(argv[4]));
  if (side == "library") {
    for (int i = 0; i < count; ++i) AskLibrary(query);
    return 0;
  }
  bench::PlainCatalogue catalogue((std::string(directory) + "/.corvane.db").c_str());
  if (side == "plain") {
    for (int i = 0; i < count; ++i) AskPlainly(catalogue, query);
  } else if (side == "check") {
    return BothAgree(catalogue, query) ? 0 : 1;
  } else {
    bench::CompareInTurns(
        count, [&] { return bench::TimeOf([&] { AskPlainly(catalogue, query); }); },
        [&] { return bench::TimeOf([&] { AskLibrary(query); }); });
  }
  return 0;
}
